#include "host/environment/MessageCatalogue.h"

#include <cstdio>
#include <string>

namespace {

struct Entry {
  int number;
  const char* text;
};

// Users see these as variable labels in the sample file. All but the last describe one stage, ^1.
constexpr Entry kEntries[] = {
    {11901, "Inclusion probability of stage ^1"},
    {11902, "Cumulative sampling weight of stage ^1"},
    {11903, "Number of selections or copy in stage ^1"},
    {11904, "Population size of stage ^1"},
    {11905, "Sample size of stage ^1"},
    {11906, "Sampling rate of stage ^1"},
    {11907, "Sampling weight of stage ^1"},
    {11908, "Final sampling weight"},
    {11909, "Taken for certain in stage ^1"},
};

std::string TextOf(int number) {
  for (const Entry& entry : kEntries) {
    if (entry.number == number) return entry.text;
  }
  return "";
}

}  // namespace

void ERRTXN(int number, char (&buffer)[kCatalogueTextSize]) {
  std::snprintf(buffer, sizeof buffer, "%s", TextOf(number).c_str());
}

void GETTXM(int number, const char* insertion, char (&buffer)[kCatalogueTextSize]) {
  std::string text = TextOf(number);
  constexpr std::size_t kMarkSize = 2;
  if (const std::size_t mark = text.find("^1"); mark != std::string::npos) {
    text.replace(mark, kMarkSize, insertion);
  }
  std::snprintf(buffer, sizeof buffer, "%s", text.c_str());
}
