#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// TextProfile decides the type of one column of a text file.
//
// A text file has no types, and guessing them from the first rows is how identifiers lose their leading
// zeros. So the profile sees every value of the column, and a type is chosen only if every value fits it and
// comes back from it unchanged:
//
//   integer     digits with an optional minus                         12, -5, 0, -0
//   number      the same with a point or an exponent                  0.5, .5, 5., 1E+5
//   boolean     true and false, in lower case
//   date        a day that exists, from year 1 on                     2024-02-29
//   time        up to 23:59:59, microseconds without zeros at the end 10:00:00.5
//   timestamp   a date, one blank, a time                             2024-02-29 10:00:00
//   text        anything else
//
// Some values look like numbers and must not become any:
//   - Leading zeros (007, 01611) mean a code. The number 7 wouldn't give them back.
//   - More digits than a double keeps (9007199254740993, or 1e-400), for the same reason:
//     see ComesBack().
//   - A sign of plus, blanks, "nan" and "inf" aren't in the notation: the column is a text.
//   - JSON marks its texts: AddString() is never a number, whatever it looks like.
//
// One such value makes the whole column a text. Nothing is lost by that: the texts are kept as they are.
//
// It works by elimination. fPossible has one bit for each kind and starts with all bits set; each value
// clears the bits of the kinds that it doesn't fit. Settled() takes the first kind left, in the order of the
// list. Kinds nest only in one place: every integer is a number too, so integer is asked first.
//
// A Table Schema may ask for another type than the one chosen. Then the question is whether every value can
// be of that type, and which is the first that can't: NotNumber(), NotExact() and NotBoolean(). The last
// one accepts more spellings than Settled(), since the user has said what the column is. A text that the
// schema lists as missing takes no part in the decision.
//
// Use:   Add(), AddString() or AddMissing() for each value that isn't empty, then Settled() and the measures.
//        Parts of a column may have profiles of their own, which are then merged.
// Cost:  one scan of each value; a number is converted once. Nothing is allocated, but for the first culprits
//        and for numbers of more than 15 digits.
class TextProfile {
public:
  enum class Kind { kNothing, kInteger, kNumber, kBoolean, kDate, kTime, kTimestamp, kText };

  // The first value that doesn't fit a type that the user asks for.
  struct Culprit {
    std::string text;
    std::int64_t place = 0;  // as given to Add(); 0 while there is none
  };

  // One value. `place` is where it is, for messages: the line or the object of the file, from 1.
  void Add(std::string_view text, std::int64_t place);
  // A value that the file marks as a text.
  void AddString(std::string_view text, std::int64_t place);
  // A value that the schema lists as missing. A number such as -9 still counts like any other, since it stays
  // in the data as a user-missing value. Another text only counts for the width of a string.
  void AddMissing(std::string_view text, std::int64_t place);

  // Adds what another profile has seen of the same column. The culprits stay those of the one that has any, so
  // they are the first ones only if the other's values come later.
  void Merge(const TextProfile& other);

  // The type of the column; kNothing when no value was added.
  Kind Settled() const;

  // Whether AddMissing() was given a value that isn't a number.
  bool AnyMissing() const { return fbAnyMissing; }

  std::size_t LongestText() const { return fLongest; }  // bytes
  // Whether every number is written without a point or an exponent. True also without a number.
  bool AllIntegers() const { return fbAllIntegers; }
  // Of the numbers; 0 when there are none.
  double Least() const { return fLeast; }
  double Greatest() const { return fGreatest; }

  // The first value that isn't a number; whose digits a double would change; that isn't true or false in any
  // usual spelling (1 and 0 are among them). Null when there is none.
  const Culprit* NotNumber() const { return Found(fNotNumber); }
  const Culprit* NotExact() const { return Found(fNotExact); }
  const Culprit* NotBoolean() const { return Found(fNotBoolean); }

private:
  static const Culprit* Found(const Culprit& culprit) { return culprit.place > 0 ? &culprit : nullptr; }
  bool AddShortNumber(std::string_view text);
  void AddNumber(std::string_view text, std::int64_t place);
  void AddBounds(double least, double greatest);
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

// Reads a number in the notation above. False when the text is something else, or is beyond the doubles: too
// large, or too small to be told from 0.
bool ReadNumber(std::string_view text, double* number);

// Whether a number survives as a double: printed with as many significant digits as its text has, the double
// shows the same digits. REQUIRES: ReadNumber(text, &number) was true.
bool ComesBack(std::string_view text, double number);
