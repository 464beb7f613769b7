#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// TextProfile settles what the texts of one column are, over all its rows: nothing is guessed from a sample.
//
// Use:   Add() or AddString() for each value that isn't empty, then Settled() and the measures.
class TextProfile {
public:
  enum class Kind { kNothing, kInteger, kNumber, kBoolean, kDate, kTime, kTimestamp, kText };

  // A value that a column can't have under a type that the user gives it, and where it stands.
  struct Culprit {
    std::string text;
    std::int64_t place = 0;
  };

  // One value; `place` is its line in the file, or whatever the file's messages count by.
  void Add(std::string_view text, std::int64_t place);
  // A value that its file marks as a text: never a number, whatever it looks like.
  void AddString(std::string_view text, std::int64_t place);
  // A value that stands for a missing one: it takes part in the width of a string only, unless it is a
  // number.
  void AddMissing(std::string_view text, std::int64_t place);

  // Numbers with leading zeros, or with more digits than a double gives back, make a text.
  Kind Settled() const;

  // Whether AddMissing() was given a value that is no number.
  bool AnyMissing() const { return fbAnyMissing; }

  std::size_t LongestText() const { return fLongest; }
  // Whether every number is a whole one written without a point or an exponent.
  bool AllIntegers() const { return fbAllIntegers; }
  double Least() const { return fLeast; }
  double Greatest() const { return fGreatest; }

  // The first value that is no number at all, that a double wouldn't give back, that is no truth value in any
  // usual spelling; null when there is none.
  const Culprit* NotNumber() const { return Found(fNotNumber); }
  const Culprit* NotExact() const { return Found(fNotExact); }
  const Culprit* NotBoolean() const { return Found(fNotBoolean); }

private:
  static const Culprit* Found(const Culprit& culprit) { return culprit.place > 0 ? &culprit : nullptr; }
  void AddNumber(std::string_view text, std::int64_t place);
  void Refuse(unsigned kinds) { fPossible &= ~kinds; }

  unsigned fPossible = ~0u;  // a bit for each kind that all values so far can be
  std::size_t fLongest = 0;
  double fLeast = 0.0;
  double fGreatest = 0.0;
  bool fbAny = false;
  bool fbAnyMissing = false;
  bool fbAnyNumber = false;
  bool fbAllIntegers = true;
  Culprit fNotNumber;
  Culprit fNotExact;
  Culprit fNotBoolean;
};

// The number that a text is in our notation: digits, with a minus, a point and an exponent where there are
// any. False when it is none, or one beyond the doubles.
bool ReadNumber(std::string_view text, double* number);

// Whether a number's text comes back from its double: printed with as many significant digits as the text
// has, the double shows the same digits.
bool ComesBack(std::string_view text, double number);
