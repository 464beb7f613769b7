#pragma once

#include <string>
#include <vector>

#include "host/output/BpText.h"

// BpComposite is a text made from a template and items.
//
//   template      items                        text
//   "^1 of ^2"    "3", "7"                     "3 of 7"
//   "^1"          the list "A", "B"            "A, B"
//   "[%1 = %2:, ^1 = ^2:]1"
//                 the list "A", "1", "B", "2"  "A = 1, B = 2"
//
//   ^k              is replaced by item k; items count from 1. A list is joined by commas.
//   [first:next:]k  is replaced by the list that is item k. Its texts are dealt out into entries, each as
//                   large as the highest number in `first` or `next`. `first` formats the first entry and
//                   calls its texts %1, %2, ...; `next` formats every other entry and calls them ^1, ^2, ...
//                   Texts that the last entry lacks are empty.
//
// The signs differ so that `first` can't be mistaken for a template on its own. `first` ends at the first
// colon and `next` at the first ":]", so `first` can't contain a colon.
//
// There are no errors. Anything that names an item that doesn't exist, or that isn't complete, is ordinary
// text and is kept: "^9" with two items stays "^9". Items are never searched for placeholders, so a file
// named "^1" is safe.
//
// Use:        construct, Add() each item in order, with Sublist() and EndSublist() around the items of a
//             list, then Finish(), once. Text() is empty before Finish().
// Value key:  the keys of all items, in order, so that a label composed of data values identifies them.
class BpComposite : public BpCellText {
public:
  // The flag says that the template is the system's own text; unused.
  BpComposite(std::string pattern, bool /*isFixed*/) : fPattern(std::move(pattern)) {}

  void Add(const BpCellText& cell);
  void Sublist();
  void EndSublist();
  void Finish();

private:
  // One text, or the texts of a list with its entries one after the other. The two aren't distinguished: a
  // single text is a list of one.
  using Item = std::vector<std::string>;

  void AddItem();
  // Null if there is no such item. 0, the result of ReadNumber() where no number is, never is one.
  const Item* ItemOf(std::size_t number) const;
  // Each returns false, and changes nothing, unless a complete placeholder or list starts at *at. Otherwise
  // it appends the replacement to *text and moves *at past the placeholder.
  bool FillPlaceholder(std::size_t* at, std::string* text) const;
  bool FillList(std::size_t* at, std::string* text) const;
  std::string Filled() const;

  std::string fPattern;
  std::vector<Item> fvItems;
  std::vector<Item> fvFullItems;  // the same with their full texts
  bool fbInSublist = false;
};
