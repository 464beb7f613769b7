#include "host/output/BpComposite.h"

#include <algorithm>
#include <cassert>

namespace {

constexpr std::size_t kLongestNumber = 4;  // digits; those after the fourth are ordinary text

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// Reads digits at `*at` and moves it past them; 0 if there are none.
std::size_t ReadNumber(const std::string& text, std::size_t* at) {
  std::size_t number = 0;
  std::size_t end = *at;
  for (; end < text.size() && IsDigit(text[end]) && end - *at < kLongestNumber; ++end) {
    number = number * 10 + static_cast<std::size_t>(text[end] - '0');
  }
  *at = end;
  return number;
}

// Number of texts that an entry takes: the highest number after a `mark` in the pattern, 0 if it has no mark.
std::size_t EntrySize(const std::string& pattern, char mark) {
  std::size_t size = 0;
  for (std::size_t at = pattern.find(mark); at != std::string::npos; at = pattern.find(mark, at)) {
    ++at;
    size = std::max(size, ReadNumber(pattern, &at));
  }
  return size;
}

// Formats the entry whose texts start at texts[offset].
std::string FillEntry(const std::string& pattern, char mark, const std::vector<std::string>& texts,
                      std::size_t offset) {
  std::string filled;
  for (std::size_t at = 0; at < pattern.size();) {
    std::size_t next = at + 1;
    const std::size_t number = pattern[at] == mark ? ReadNumber(pattern, &next) : 0;
    if (number == 0) {
      filled += pattern[at++];
      continue;
    }
    if (offset + number <= texts.size()) filled += texts[offset + number - 1];
    at = next;
  }
  return filled;
}

}  // namespace

void BpComposite::Add(const BpCellText& cell) {
  if (!fbInSublist) AddItem();
  fvItems.back().push_back(cell.Text());
  fvFullItems.back().push_back(cell.FullText());
  AddValuesOf(cell);
}

void BpComposite::Sublist() {
  assert(!fbInSublist);
  AddItem();
  fbInSublist = true;
}

void BpComposite::EndSublist() {
  assert(fbInSublist);
  fbInSublist = false;
}

void BpComposite::Finish() {
  assert(!fbInSublist);
  SetText(Filled());
  fvItems.swap(fvFullItems);
  SetFullText(Filled());
}

void BpComposite::AddItem() {
  fvItems.emplace_back();
  fvFullItems.emplace_back();
}

std::string BpComposite::Filled() const {
  std::string text;
  for (std::size_t at = 0; at < fPattern.size();) {
    if (!FillPlaceholder(&at, &text) && !FillList(&at, &text)) text += fPattern[at++];
  }
  return text;
}

const BpComposite::Item* BpComposite::ItemOf(std::size_t number) const {
  return number >= 1 && number <= fvItems.size() ? &fvItems[number - 1] : nullptr;
}

bool BpComposite::FillPlaceholder(std::size_t* at, std::string* text) const {
  if (fPattern[*at] != '^') return false;
  std::size_t end = *at + 1;
  const Item* item = ItemOf(ReadNumber(fPattern, &end));
  if (item == nullptr) return false;
  for (std::size_t i = 0; i < item->size(); ++i) {
    if (i > 0) *text += ", ";
    *text += (*item)[i];
  }
  *at = end;
  return true;
}

bool BpComposite::FillList(std::size_t* at, std::string* text) const {
  if (fPattern[*at] != '[') return false;
  const std::size_t colon = fPattern.find(':', *at);
  if (colon == std::string::npos) return false;
  const std::size_t close = fPattern.find(":]", colon + 1);
  if (close == std::string::npos) return false;
  std::size_t end = close + 2;
  const Item* item = ItemOf(ReadNumber(fPattern, &end));
  if (item == nullptr) return false;

  const std::string first = fPattern.substr(*at + 1, colon - *at - 1);
  const std::string next = fPattern.substr(colon + 1, close - colon - 1);
  const std::size_t size = std::max<std::size_t>({1, EntrySize(first, '%'), EntrySize(next, '^')});
  for (std::size_t offset = 0; offset < item->size(); offset += size) {
    *text += offset == 0 ? FillEntry(first, '%', *item, offset) : FillEntry(next, '^', *item, offset);
  }
  *at = end;
  return true;
}
