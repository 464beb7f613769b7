#include <stdlib.h>
#include <string.h>

#include "glue.h"

// Reads JSON: what the library writes, and plans in files. Only C is between the parser and R, so that R's
// errors may jump.

static const int kDeepest = 200;

struct Text {
  const char* at;
  const char* begin;
  int depth;
};

static void NORET fault(const struct Text* text, const char* expected) {
  Rf_error("no JSON: %s expected at byte %.0f", expected, (double)(text->at - text->begin + 1));
}

static void skip_blanks(struct Text* text) {
  text->at += strspn(text->at, " \t\r\n");
}

static int takes(struct Text* text, char wanted) {
  skip_blanks(text);
  if (*text->at != wanted) return 0;
  ++text->at;
  return 1;
}

static unsigned hex4(struct Text* text) {
  unsigned code = 0;
  for (int i = 0; i < 4; ++i, ++text->at) {
    const char* const digits = "0123456789abcdef";
    const char* const digit = *text->at == '\0' ? NULL : strchr(digits, *text->at | 0x20);
    if (digit == NULL) fault(text, "four hexadecimal digits");
    code = code * 16 + (unsigned)(digit - digits);
  }
  return code;
}

static char* put_utf8(char* to, unsigned code) {
  if (code < 0x80) {
    *to++ = (char)code;
  } else if (code < 0x800) {
    *to++ = (char)(0xc0 | code >> 6);
  } else {
    if (code < 0x10000) {
      *to++ = (char)(0xe0 | code >> 12);
    } else {
      *to++ = (char)(0xf0 | code >> 18);
      *to++ = (char)(0x80 | (code >> 12 & 0x3f));
    }
    *to++ = (char)(0x80 | (code >> 6 & 0x3f));
  }
  if (code >= 0x80) *to++ = (char)(0x80 | (code & 0x3f));
  return to;
}

// After "\u". R has no character 0; that and half a pair of surrogates become the replacement character.
static unsigned code_point(struct Text* text) {
  const unsigned kReplacement = 0xfffd;
  const unsigned first = hex4(text);
  if (first == 0 || (first >= 0xdc00 && first < 0xe000)) return kReplacement;
  if (first < 0xd800 || first >= 0xe000) return first;
  if (text->at[0] != '\\' || text->at[1] != 'u') return kReplacement;
  struct Text second = *text;
  second.at += 2;
  const unsigned low = hex4(&second);
  if (low < 0xdc00 || low >= 0xe000) return kReplacement;
  text->at = second.at;
  return 0x10000 + ((first - 0xd800) << 10) + (low - 0xdc00);
}

// After the opening quote. The text never grows by its escapes.
static SEXP string(struct Text* text) {
  const char* end = text->at;
  while (*end != '"' && *end != '\0') end += *end == '\\' && end[1] != '\0' ? 2 : 1;
  const void* const kept = vmaxget();
  char* const made = R_alloc((size_t)(end - text->at) + 1, 1);
  char* to = made;
  while (*text->at != '"') {
    if (*text->at == '\0') fault(text, "a quote");
    if (*text->at != '\\') {
      *to++ = *text->at++;
      continue;
    }
    const char escaped = text->at[1];
    const char* const kEscapes = "\"\\/bfnrt";
    const char* const known = escaped == '\0' ? NULL : strchr(kEscapes, escaped);
    text->at += escaped == '\0' ? 1 : 2;
    if (known != NULL) {
      *to++ = "\"\\/\b\f\n\r\t"[known - kEscapes];
    } else if (escaped == 'u') {
      to = put_utf8(to, code_point(text));
    } else {
      fault(text, "an escape");
    }
  }
  ++text->at;
  const SEXP result = Rf_mkCharLenCE(made, (int)(to - made), CE_UTF8);
  vmaxset(kept);
  return result;
}

static SEXP value(struct Text* text);

// The elements of a pairlist as a list, by their tags if these are names.
static SEXP as_list(SEXP pairs, R_xlen_t count, SEXP names) {
  const SEXP made = PROTECT(Rf_allocVector(VECSXP, count));
  R_xlen_t i = 0;
  for (SEXP at = pairs; at != R_NilValue; at = CDR(at)) SET_VECTOR_ELT(made, i++, CAR(at));
  if (names != R_NilValue) {
    const SEXP texts = PROTECT(Rf_allocVector(STRSXP, count));
    i = 0;
    for (SEXP at = names; at != R_NilValue; at = CDR(at)) SET_STRING_ELT(texts, i++, STRING_ELT(CAR(at), 0));
    Rf_setAttrib(made, R_NamesSymbol, texts);
    UNPROTECT(1);
  }
  UNPROTECT(1);
  return made;
}

// After the opening bracket, of an object if `isObject`.
static SEXP members(struct Text* text, int isObject) {
  const char close = isObject ? '}' : ']';
  const SEXP values = PROTECT(Rf_cons(R_NilValue, R_NilValue));
  const SEXP names = PROTECT(Rf_cons(R_NilValue, R_NilValue));
  SEXP lastValue = values;
  SEXP lastName = names;
  R_xlen_t count = 0;
  if (++text->depth > kDeepest) fault(text, "less nesting");
  for (int isDone = takes(text, close); !isDone; ++count) {
    if (isObject) {
      if (!takes(text, '"')) fault(text, "a name");
      const SEXP name = PROTECT(string(text));
      SETCDR(lastName, Rf_cons(Rf_ScalarString(name), R_NilValue));
      UNPROTECT(1);
      lastName = CDR(lastName);
      if (!takes(text, ':')) fault(text, "a colon");
    }
    const SEXP found = PROTECT(value(text));
    SETCDR(lastValue, Rf_cons(found, R_NilValue));
    UNPROTECT(1);
    lastValue = CDR(lastValue);
    isDone = takes(text, close);
    if (!isDone && !takes(text, ',')) fault(text, "a comma");
  }
  --text->depth;
  const SEXP made = as_list(CDR(values), count, CDR(names));
  UNPROTECT(2);
  return made;
}

static int takes_word(struct Text* text, const char* word) {
  if (strncmp(text->at, word, strlen(word)) != 0) return 0;
  text->at += strlen(word);
  return 1;
}

static SEXP value(struct Text* text) {
  if (takes(text, '{')) return members(text, 1);
  if (takes(text, '[')) return members(text, 0);
  if (takes(text, '"')) {
    const SEXP found = PROTECT(string(text));
    const SEXP made = Rf_ScalarString(found);
    UNPROTECT(1);
    return made;
  }
  if (takes_word(text, "true")) return Rf_ScalarLogical(TRUE);
  if (takes_word(text, "false")) return Rf_ScalarLogical(FALSE);
  if (takes_word(text, "null")) return R_NilValue;
  if (strchr("-0123456789", *text->at) == NULL || *text->at == '\0') fault(text, "a value");
  char* end = NULL;
  const double number = strtod(text->at, &end);
  if (end == text->at) fault(text, "a number");
  text->at = end;
  return Rf_ScalarReal(number);
}

SEXP svr_json(SEXP given) {
  struct Text text = {CHAR(STRING_ELT(given, 0)), CHAR(STRING_ELT(given, 0)), 0};
  const SEXP made = PROTECT(value(&text));
  skip_blanks(&text);
  if (*text.at != '\0') fault(&text, "the end");
  UNPROTECT(1);
  return made;
}
