#pragma once

#include <string>
#include <vector>

#include "host/output/BpText.h"

// BpComposite is a template with items. In the template ^k stands for the k-th item, and [first:next:]k for
// the list that is the k-th item: its first entry is written by `first` with %1, %2 and so on, each further
// one by `next` with ^1, ^2. "[%1 = %2:, ^1 = ^2:]2" writes "A = 1, B = 2". What stands for no item stays as
// it is, and so does a placeholder in an item's text.
//
// Use:        construct, Add() the items in order, those of a list between Sublist() and EndSublist(), then
//             Finish(). Only a finished composite has a text.
class BpComposite : public BpCellText {
public:
  BpComposite(std::string pattern, bool /*isFixed*/) : fPattern(std::move(pattern)) {}

  void Add(const BpCellText& cell);
  void Sublist();
  void EndSublist();
  void Finish();

private:
  // One item: a single text, or a list of them, the entries' texts one after the other.
  using Item = std::vector<std::string>;

  const Item* ItemOf(std::size_t number) const;
  bool FillPlaceholder(std::size_t* at, std::string* text) const;
  bool FillList(std::size_t* at, std::string* text) const;

  std::string fPattern;
  std::vector<Item> fvItems;
  bool fbInSublist = false;
};
