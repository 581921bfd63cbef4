#pragma once
// The texts of the two period-search dialogs, kept with the commands so that every front end
// shows them exactly alike.
namespace kurvalux_analysis {

// Period from minima instances.
inline constexpr const char* kMinimaDialogTitle = "Find periods from minima instances";
inline constexpr const char* kMinimaMinimalPeriodLabel = "Minimal period [d]:";
inline constexpr const char* kMinimaLimitLabel = "Phase difference limit:";
inline constexpr const char* kMinimaSecondaryPhaseLabel = "Secondary minimum phase:";
// Initial box texts (the values of PeriodFromMinimaOptions' defaults).
inline constexpr const char* kMinimaMinimalPeriodInitial = "0.1";
inline constexpr const char* kMinimaLimitInitial = "0.999";
inline constexpr const char* kMinimaSecondaryPhaseInitial = "0.5";

// Frequency analysis; the initial values are LastFrequencyAnalysisOptions().
inline constexpr const char* kFrequencyMinimalPeriodLabel = "Minimal period [d]:";
inline constexpr const char* kFrequencyMaximalPeriodLabel = "Maximal period [d]:";
inline constexpr const char* kFrequencyResolutionLabel = "Resolution [d]:";
inline constexpr const char* kFrequencyStepsLabel = "Number of steps:";
// The modal progress dialog with its bar meter (done / total).
inline constexpr const char* kFrequencyProgressTitle = "Frequency analysis";
inline constexpr const char* kFrequencyProgressText = "Processing:";

}  // namespace kurvalux_analysis
