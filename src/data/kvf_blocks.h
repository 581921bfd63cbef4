#pragma once
// Readers and writers of the blocks that make up a field description file (objects, series,
// meta-data, stars, minima, fit, notes). The side formats reuse them.
#include <string>

#include "data/field.h"
#include "data/keyword_scanner.h"

namespace kurvalux_data {

// Reads the keys of one block up to and including its end keyword; the scanner stands at the
// line after the block's opening keyword. Failures leave the scanner's message.
class CKvfBlockReader {
public:
    explicit CKvfBlockReader(CKeywordScanner& scanner) : scanner_(scanner) {}

    bool ReadMetaData(CMetaData& meta);
    bool ReadStar(CStarRecord& star, const std::string& end_keyword);
    bool ReadMinimum(CMinimaListElem& minimum);
    bool ReadFit(LightCurveParameters& fit);
    bool ReadNotes(std::string& notes);
    bool ReadWebSeries(CWebSeriesLocalDataTreeElem& entry);

    bool Word(std::string& word) { return scanner_.ReadIdentifier(word); }
    bool Unknown(const std::string& word);
    bool Quoted(std::string& out, size_t capacity);
    bool Number(double& value);
    bool Boolean(bool& value);
    bool Hex(uint64_t& value);
    bool Next() { return scanner_.NextLine(); }
    CKeywordScanner& Scanner() { return scanner_; }

private:
    CKeywordScanner& scanner_;
};

void WriteMetaData(CKeywordWriter& writer, const CMetaData& meta);
void WriteMinimum(CKeywordWriter& writer, const CMinimaListElem& minimum);
void WriteFit(CKeywordWriter& writer, const LightCurveParameters& fit);
void WriteWebSeriesLocalData(CKeywordWriter& writer, const CWebSeriesLocalDataTreeElem& entry);
// The whole object block, series included.
void WriteObject(CKeywordWriter& writer, const CObjectListElem& object);

}  // namespace kurvalux_data
