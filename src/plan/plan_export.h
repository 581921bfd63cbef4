#pragma once
// The planned minima as texts: a comma-separated table for spreadsheets and an iCalendar file
// (RFC 5545) whose events observers can drop into their calendars.
#include <string>
#include <vector>

#include "plan/night_planner.h"

namespace kurvalux_plan {

// "primary" or "secondary".
const char* KindName(MinimumKind kind);

// The header row and one row per minimum: object, kind, HJD, local time ("YYYY-MM-DD HH:MM"
// in the computer's time zone), star, Sun and Moon altitudes (degrees), Moon illumination
// (0…1), Moon distance (degrees), observable ("yes"/"no"), timing error (days; empty when
// unknown). A text holding a comma or a double quote is quoted.
std::string PlanCsv(const std::vector<PlannerObject>& objects,
                    const std::vector<PlannedMinimum>& minima);

// The header row of PlanCsv, without its line end.
extern const char* const kPlanCsvHeader;

// One VEVENT per observable minimum, from the start to the end of its window (UTC). The
// stamp is the time the calendar is made (JD, UTC). Lines end in CR LF.
std::string PlanICalendar(const std::vector<PlannerObject>& objects,
                          const std::vector<PlannedMinimum>& minima, double stamp_jd);

// "YYYYMMDDTHHMMSSZ" of a JD (UTC), to the nearest second.
std::string ICalendarTime(double jd);

}  // namespace kurvalux_plan
