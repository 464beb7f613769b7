# Lists as JSON and back. A member that is NULL is left out; I() makes an array of a single value.

json_string <- function(x) {
  x <- gsub("\\", "\\\\", utf8(x, "a text"), fixed = TRUE)
  x <- gsub("\"", "\\\"", x, fixed = TRUE)
  for (code in unique(unlist(lapply(x, utf8ToInt)))) {
    if (!is.na(code) && code < 32L) x <- gsub(intToUtf8(code), sprintf("\\u%04x", code), x, fixed = TRUE)
  }
  paste0("\"", x, "\"")
}

# The shortest text that is the same double.
json_number <- function(x) {
  if (!is.finite(x)) refuse(sprintf("%s isn't a number", format(x)))
  for (digits in c(15L, 16L, 17L)) {
    text <- formatC(as.double(x), digits = digits, width = 1L, format = "g")
    if (identical(from_json(text), as.double(x))) break  # as.double() isn't always exact
  }
  text
}

to_json <- function(x, indent = "") {
  inner <- paste0(indent, "  ")
  if (is.list(x)) {
    x <- x[!vapply(x, is.null, NA)]
    parts <- vapply(x, to_json, "", indent = inner)
    if (is.null(names(x))) {
      isBlock <- any(startsWith(parts, "{"))
      return(if (isBlock) paste0("[\n", inner, paste(parts, collapse = paste0(",\n", inner)), "\n", indent, "]")
             else paste0("[", paste(parts, collapse = ", "), "]"))
    }
    if (length(x) == 0L) return("{}")
    members <- paste0(inner, json_string(names(x)), ": ", parts, collapse = ",\n")
    return(paste0("{\n", members, "\n", indent, "}"))
  }
  parts <- if (is.character(x)) vapply(x, json_string, "")
           else if (is.logical(x)) ifelse(x, "true", "false")
           else vapply(x, json_number, "")
  if (length(x) == 1L && !inherits(x, "AsIs")) unname(parts) else paste0("[", paste(parts, collapse = ", "), "]")
}

from_json <- function(text) .Call(svr_json, text)

# Text in UTF-8. Where R runs in the C locale, unmarked bytes are taken for UTF-8, and have to be that.
utf8 <- function(x, what, class = "svselect_argument_error") {
  if (!l10n_info()[["UTF-8"]] && !l10n_info()[["Latin-1"]]) Encoding(x)[Encoding(x) == "unknown"] <- "UTF-8"
  if (!any(Encoding(x) == "bytes") && all(validEnc(x))) return(enc2utf8(x))
  fail(class, sprintf("%s has bytes that are no text in UTF-8", what))
}
