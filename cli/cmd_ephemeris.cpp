// The ephemeris from the command line: oc prints the O-C table of an object's minima in use
// and the ephemeris fitted to them.
#include <cstdio>
#include <string>
#include <vector>

#include "analysis/ephemeris_fit.h"
#include "cli/cli.h"
#include "platform/files.h"

namespace kurvalux_cli {
namespace {

using namespace kurvalux_analysis;

const char* TypeName(uint32_t type) {
    return type == kurvalux_data::kMinimumPrimary     ? "primary"
           : type == kurvalux_data::kMinimumSecondary ? "secondary"
                                                      : "undefined";
}

void PrintFit(const EphemerisFitResult& fit) {
    std::printf("M0 %s +- %s\n", FormatNumber(fit.m0).c_str(), FormatNumber(fit.m0_error).c_str());
    std::printf("period %s +- %s\n", FormatNumber(fit.period).c_str(),
                FormatNumber(fit.period_error).c_str());
    if (fit.parameters == 3) {
        std::printf("Q %s +- %s\n", FormatNumber(fit.quadratic).c_str(),
                    FormatNumber(fit.quadratic_error).c_str());
        std::printf("dP/dt %s +- %s\n", FormatNumber(fit.dpdt).c_str(),
                    FormatNumber(fit.dpdt_error).c_str());
    }
    std::printf("chi2 %s\n", FormatNumber(fit.chi2).c_str());
    std::printf("dof %zu\n", fit.dof);
    std::printf("chi2/dof %s\n", FormatNumber(fit.chi2_per_dof).c_str());
    std::printf("weights %s\n", fit.weighted ? "1/error^2" : "equal (no minimum has an error)");
    if (fit.assumed_error > 0)
        std::printf("error assumed for minima without one %s\n",
                    FormatNumber(fit.assumed_error).c_str());
    std::printf("errors scaled %s\n", fit.errors_scaled ? "yes" : "no");
    std::printf("rms %s\n", FormatNumber(fit.residual_rms).c_str());
}

std::string CsvTable(const std::vector<OCEntry>& table) {
    std::string text = "cycle,type,time,error,oc,fitted,residual\n";
    for (const OCEntry& e : table) {
        text += FormatNumber(e.cycle) + ',' + TypeName(e.type) + ',' + FormatNumber(e.time) + ',' +
                FormatNumber(e.error) + ',' + FormatNumber(e.oc) + ',' + (e.fitted ? "yes" : "no") +
                ',' + (e.fitted ? FormatNumber(e.residual) : std::string()) + '\n';
    }
    return text;
}

int OC(const Args& args) {
    if (args.Flag("apply") && args.Flag("quadratic")) {
        std::fprintf(stderr, "--apply stores a linear ephemeris; leave out --quadratic\n");
        return 2;
    }
    kurvalux_data::Field field;
    kurvalux_data::CObjectListElem* object = LoadObjectWithEphemeris(args, field);
    if (!object) return 1;
    std::vector<OCEntry> table = MakeOCTable(*object, object->m0, object->period);
    size_t undefined = 0;
    for (const OCEntry& e : table) undefined += e.type == kurvalux_data::kMinimumUndefined;
    EphemerisFitOptions options;
    options.quadratic = args.Flag("quadratic");
    EphemerisFitResult fit = FitEphemeris(table, object->m0, object->period, options);

    std::printf("object %s\n", object->name.c_str());
    std::printf("ephemeris M0 %s period %s\n", FormatNumber(object->m0).c_str(),
                FormatNumber(object->period).c_str());
    std::printf("minima %zu fitted %zu undefined %zu\n", table.size(), fit.ok ? fit.count : 0,
                undefined);
    if (fit.ok) PrintFit(fit);
    std::printf("E\ttype\ttime\terror\tO-C\tresidual\n");
    for (const OCEntry& e : table)
        std::printf("%s\t%s\t%s\t%s\t%s\t%s\n", FormatNumber(e.cycle).c_str(), TypeName(e.type),
                    FormatNumber(e.time).c_str(), FormatNumber(e.error).c_str(),
                    FormatNumber(e.oc).c_str(), e.fitted ? FormatNumber(e.residual).c_str() : "-");
    if (args.Has("csv") && !kurvalux_platform::WriteWholeFile(args.Get("csv"), CsvTable(table))) {
        std::fprintf(stderr, "Cannot create file: %s\n", args.Get("csv").c_str());
        return 1;
    }
    if (!fit.ok) {
        std::fprintf(stderr, "%s\n", fit.message.c_str());
        return 1;
    }
    if (args.Flag("apply")) {
        ApplyEphemeris(fit, *object);
        if (!SaveFieldArgument(args, field)) return 1;
        std::printf("applied M0 %s period %s (saved copy M0 %s period %s kept)\n",
                    FormatNumber(object->m0).c_str(), FormatNumber(object->period).c_str(),
                    FormatNumber(object->saved_m0).c_str(),
                    FormatNumber(object->saved_period).c_str());
    }
    return 0;
}

const CommandRegistrar kOC(
    "oc",
    "The O-C table of the object's minima in use and the ephemeris fitted to them by weighted "
    "least squares.",
    &OC,
    {FieldArgument(), ObjectOption(),
     Flag("quadratic", "also fit a quadratic term (a steadily changing period)"),
     Flag("apply",
          "make the fitted M0 and period the object's and save the field (the saved copy of "
          "the ephemeris is kept)"),
     Text("csv", "OUT", "write the O-C table (cycle, type, time, error, O-C, residual) to OUT"),
     RootOption()});

}  // namespace
}  // namespace kurvalux_cli
