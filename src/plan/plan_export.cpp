// Texts of the planned minima (see plan_export.h).
#include "plan/plan_export.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "data/julian_date.h"
#include "lc/chart_layout.h"

namespace kurvalux_plan {

const char* const kPlanCsvHeader =
    "object,kind,HJD,local time,star altitude,Sun altitude,Moon altitude,Moon illumination,"
    "Moon distance,observable,timing error";

namespace {

std::string Fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string CsvText(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

// TEXT values of iCalendar escape backslash, semicolon and comma.
std::string CalendarText(const std::string& text) {
    std::string escaped;
    for (char c : text) {
        if (c == '\\' || c == ';' || c == ',') escaped += '\\';
        if (c == '\r' || c == '\n') {
            escaped += "\\n";
            continue;
        }
        escaped += c;
    }
    return escaped;
}

// A content line, folded after every 75 octets by a line end and one space (the space does
// not count as content when the line is unfolded). A fold never splits a UTF-8 character.
void AppendLine(std::string& text, const std::string& line) {
    size_t at = 0, limit = 75;
    while (line.size() - at > limit) {
        size_t take = limit;
        while (take > 1 && (static_cast<unsigned char>(line[at + take]) & 0xC0) == 0x80) --take;
        text.append(line, at, take);
        text += "\r\n ";
        at += take;
        limit = 74;
    }
    text.append(line, at, std::string::npos);
    text += "\r\n";
}

}  // namespace

const char* KindName(MinimumKind kind) {
    return kind == MinimumKind::kPrimary ? "primary" : "secondary";
}

std::string PlanCsv(const std::vector<PlannerObject>& objects,
                    const std::vector<PlannedMinimum>& minima) {
    std::string text = kPlanCsvHeader;
    text += '\n';
    for (const PlannedMinimum& m : minima) {
        text += CsvText(objects[m.object].name) + ',' + KindName(m.kind) + ',' + Fixed(m.hjd, 5) +
                ',' + kurvalux_lc::LocalDateTime(m.jd) + ',' + Fixed(m.star_altitude, 1) + ',' +
                Fixed(m.sun_altitude, 1) + ',' + Fixed(m.moon_altitude, 1) + ',' +
                Fixed(m.moon_illumination, 2) + ',' + Fixed(m.moon_distance, 1) + ',' +
                (m.observable ? "yes" : "no") + ',' +
                (m.timing_error >= 0 ? Fixed(m.timing_error, 5) : std::string()) + '\n';
    }
    return text;
}

std::string ICalendarTime(double jd) {
    if (!kurvalux_data::IsJulianDateInRange(jd)) return {};
    const double seconds = std::floor((jd - 2440587.5) * 86400.0 + 0.5);
    const std::time_t t = static_cast<std::time_t>(seconds);
    std::tm tm{};
    if (!gmtime_r(&t, &tm)) return {};
    char text[80];
    std::snprintf(text, sizeof text, "%04d%02d%02dT%02d%02d%02dZ", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return text;
}

std::string PlanICalendar(const std::vector<PlannerObject>& objects,
                          const std::vector<PlannedMinimum>& minima, double stamp_jd) {
    std::string text =
        "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//KURVALUX//Night planner//EN\r\n"
        "CALSCALE:GREGORIAN\r\n";
    const std::string stamp = ICalendarTime(stamp_jd);
    for (const PlannedMinimum& m : minima) {
        if (!m.observable) continue;
        const std::string& name = objects[m.object].name;
        // The same minimum planned again gets the same identifier, so a calendar updates it
        // instead of adding a copy.
        std::string uid;
        for (char c : name) uid += std::isalnum(static_cast<unsigned char>(c)) ? c : '-';
        uid += '-' + std::string(KindName(m.kind)) + '-' + Fixed(m.hjd, 5) + "@kurvalux";
        std::string description =
            "HJD " + Fixed(m.hjd, 5) + ", star altitude " + Fixed(m.star_altitude, 1) +
            " deg, Sun altitude " + Fixed(m.sun_altitude, 1) + " deg, Moon altitude " +
            Fixed(m.moon_altitude, 1) + " deg, illuminated " + Fixed(m.moon_illumination * 100, 0) +
            " %, " + Fixed(m.moon_distance, 1) + " deg from the star";
        if (m.timing_error >= 0)
            description += ", timing error " + Fixed(m.timing_error * 1440.0, 1) + " min";
        AppendLine(text, "BEGIN:VEVENT");
        AppendLine(text, "UID:" + uid);
        AppendLine(text, "DTSTAMP:" + stamp);
        AppendLine(text, "DTSTART:" + ICalendarTime(m.jd - m.half_window));
        AppendLine(text, "DTEND:" + ICalendarTime(m.jd + m.half_window));
        AppendLine(text, "SUMMARY:" + CalendarText(name + " " + KindName(m.kind) + " minimum"));
        AppendLine(text, "DESCRIPTION:" + CalendarText(description));
        AppendLine(text, "END:VEVENT");
    }
    text += "END:VCALENDAR\r\n";
    return text;
}

}  // namespace kurvalux_plan
