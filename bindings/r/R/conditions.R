# Errors are conditions of class svselect_error, and of svselect_plan_error, svselect_frame_error, svselect_draw_error
# or svselect_argument_error; `messages` has all that the run has said.

statuses <- c("svselect_argument_error", "svselect_plan_error", "svselect_frame_error", "svselect_draw_error",
              "svselect_cancelled", "svselect_memory_error")

message_frame <- function(level = character(), text = character()) {
  data.frame(level = level, text = text)
}

fail <- function(class, text, messages = message_frame("error", text)) {
  stop(structure(class = c(class, "svselect_error", "error", "condition"),
                 list(message = paste(text, collapse = "\n"), call = NULL, messages = messages)))
}

refuse <- function(text) fail("svselect_argument_error", text)

# The messages of an answer of the library.
said <- function(answer) {
  given <- from_json(answer[[2L]])
  message_frame(vapply(given, `[[`, "", "level"), vapply(given, `[[`, "", "text"))
}

# Fails unless the status of an answer is good, or one of those that are expected.
require_good <- function(answer, expected = integer()) {
  if (answer[[1L]] == 0L || answer[[1L]] %in% expected) return(invisible(answer))
  messages <- said(answer)
  text <- if (nrow(messages) > 0L) messages$text else "svselect gave no reason"
  fail(statuses[[answer[[1L]]]], text, messages)
}

# Whether an answer has a result, which some failures have as well.
has_result <- function(answer) .Call(svr_has_address, answer[[3L]])

# --- arguments --------------------------------------------------------------------------------------------------------

check_names <- function(x, what, several = TRUE) {
  if (is.null(x)) return(NULL)
  if (!is.character(x) || anyNA(x) || length(x) == 0L || (!several && length(x) != 1L)) {
    refuse(sprintf("%s: %s expected", what, if (several) "names" else "a name"))
  }
  unname(utf8(x, what))
}

check_flag <- function(x, what) {
  if (!is.logical(x) || length(x) != 1L || is.na(x)) refuse(sprintf("%s: TRUE or FALSE expected", what))
  if (x) TRUE
}

check_whole <- function(x, what, several = FALSE) {
  if (is.null(x)) return(NULL)
  isGood <- is.numeric(x) && !is.object(x) && (several || length(x) == 1L) && all(is.finite(x)) && all(x == round(x))
  if (!isGood) refuse(sprintf("%s: %s expected", what, if (several) "whole numbers" else "a whole number"))
  as.double(x)
}

check_threads <- function(threads) {
  threads <- check_whole(threads, "threads")
  if (is.null(threads) || threads < 0 || threads > 1024) refuse("threads: a number from 0 to 1024 expected")
  as.integer(threads)
}
