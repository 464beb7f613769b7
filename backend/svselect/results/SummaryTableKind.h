#pragma once

// The kind and the wording of a stage's summary table, shared by the writer of the table and by readers of
// the document that look for it: a reader that typed a label again would lose its column with the first
// change of a word. The wording is laid down.
namespace SummaryTableKind {

inline constexpr const char* kKind = "Summary";  // OutputTable::Kind() of the table

// Column dimension "Statistics".
inline constexpr const char* kUnitsSampled = "Number of Units Sampled";
inline constexpr const char* kProportionSampled = "Proportion of Units Sampled";
inline constexpr const char* kCertainUnits = "Units Taken for Certain";  // where the stage takes such units

// Column dimension "Value", inside each of the statistics.
inline constexpr const char* kRequested = "Requested";
inline constexpr const char* kActual = "Actual";

}  // namespace SummaryTableKind

// The same of a stage's table in a preview.
namespace PreviewTableKind {

inline constexpr const char* kKind = "Preview";

inline constexpr const char* kUnits = "Units";
inline constexpr const char* kAsked = "asked for";
inline constexpr const char* kPossible = "possible";

}  // namespace PreviewTableKind
