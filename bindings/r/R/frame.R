# Frames: what is drawn from.

sampling_frame <- function(data, schema = NULL, threads = 0, progress = FALSE) {
  if (inherits(data, "svselect_frame")) return(usable(data))
  threads <- check_threads(threads)
  progress <- teller(progress)
  if (is.character(data) && length(data) == 1L && !is.na(data)) {
    if (!is.null(schema)) schema <- path.expand(check_names(schema, "schema", several = FALSE))
    made <- list(data = NULL, row = NULL)
    answer <- .Call(svr_frame_of_file, path.expand(data), schema, threads)
  } else {
    if (!is.data.frame(data)) refuse("a frame is a data frame, or the path of a data file")
    if (!is.null(schema)) refuse("schema: only a data file can have one")
    columns <- prepared(data)
    made <- list(data = data, row = row_name(columns$names))
    columns$values[[length(columns$values) + 1L]] <- seq_len(nrow(data))
    answer <- .Call(svr_frame_of_columns, columns$values, c(columns$names, made$row), c(columns$kinds, "integer"),
                    threads, progress)
  }
  made$handle <- require_good(answer)[[3L]]
  made$process <- Sys.getpid()
  structure(made, class = "svselect_frame")
}

# The sample takes its rows from the data frame itself, so that they keep whatever R knows about them: classes, levels,
# labels. A column that numbers the rows tells which ones. Names that differ only in case are the same to the library.
row_name <- function(names) {
  name <- "svselect_row"
  while (name %in% tolower(names)) name <- paste0(name, "_")
  name
}

# Closes a frame that was made of what the caller has given.
close_own <- function(frame, given) {
  if (!inherits(given, "svselect_frame")) .Call(svr_close_frame, frame$handle)
}

usable <- function(frame) {
  if (frame$process != Sys.getpid()) refuse("a frame can't be used in a process that was forked after it was made")
  frame
}

print.svselect_frame <- function(x, ...) {
  cat("A frame to draw from:",
      if (is.null(x$data)) "a data file\n" else sprintf("%d cases, %d variables\n", nrow(x$data), length(x$data)))
  invisible(x)
}

describe_frame <- function(frame, threads = 0) {
  threads <- check_threads(threads)
  given <- frame
  frame <- sampling_frame(given, threads = threads)
  on.exit(close_own(frame, given))
  answer <- require_good(.Call(svr_describe, frame$handle, threads))
  found <- from_json(.Call(svr_result_json, answer[[3L]]))
  .Call(svr_close_result, answer[[3L]])
  variables <- Filter(function(v) !identical(v$name, frame$row), found$variables)
  pick <- function(member, missing) {
    vapply(variables, function(v) if (is.null(v[[member]])) missing else v[[member]], missing)
  }
  texts <- c("name", "type", "column_type", "label", "level")
  numbers <- c("valid", "missing", "user_missing", "different", "smallest", "largest")
  table <- data.frame(c(lapply(stats::setNames(nm = texts), pick, NA_character_),
                        lapply(stats::setNames(nm = numbers), pick, NA_real_)))
  table$frequent <- lapply(variables, function(v) {
    data.frame(value = vapply(v$frequent, function(f) format(f$value), ""), cases = vapply(v$frequent, `[[`, 0, "cases"))
  })
  structure(table, cases = found$cases)
}

# --- columns ----------------------------------------------------------------------------------------------------------

# The columns of a data frame as the glue takes them: their values, names, and kinds.
prepared <- function(data) {
  names <- names(data)
  if (length(data) == 0L) fail("svselect_frame_error", "frame: it has no column")
  if (is.null(names) || anyNA(names) || any(names == "")) fail("svselect_frame_error", "frame: a column has no name")
  names <- utf8(names, "frame: the name of a column", "svselect_frame_error")
  columns <- lapply(seq_along(data), function(i) prepared_column(.subset2(data, i), names[[i]]))
  if (any(lengths(lapply(columns, `[[`, "value")) != nrow(data))) {
    fail("svselect_frame_error", "frame: its columns don't have the same length")
  }
  list(values = lapply(columns, `[[`, "value"), names = names, kinds = vapply(columns, `[[`, "", "kind"))
}

# Classes whose values are what they hold. Those of all others may mean something else, and are refused.
plain_classes <- c("AsIs", "difftime", "hms", "labelled", "haven_labelled", "haven_labelled_spss", "vctrs_vctr",
                   "numeric", "integer", "double", "character", "logical")

prepared_column <- function(x, name) {
  refused <- function(type) {
    fail("svselect_frame_error",
         sprintf("frame: column \"%s\" is of a type that can't be a variable: %s", name, type))
  }
  if (inherits(x, "POSIXlt")) x <- as.POSIXct(x)
  if (!is.null(dim(x))) refused("a table in a column")
  if (inherits(x, "factor")) x <- as.character(x)
  if (inherits(x, "Date")) return(list(kind = "date", value = whole_days(x, refused)))
  if (inherits(x, "POSIXct")) return(list(kind = "time", value = whole_seconds(x, refused)))
  if (inherits(x, "integer64")) return(list(kind = "int64", value = unclass(x)))
  if (is.object(x) && !all(class(x) %in% plain_classes)) refused(paste(class(x), collapse = "/"))
  kind <- c(logical = "logical", integer = "integer", double = "double", character = "text")[typeof(x)]
  if (is.na(kind)) refused(typeof(x))
  x <- without_user_missing(x)
  if (kind == "text") x <- utf8(x, sprintf("frame: column \"%s\"", name), "svselect_frame_error")
  list(kind = unname(kind), value = x)
}

whole_days <- function(x, refused) {
  days <- floor(as.double(unclass(x)))
  if (any(abs(days) > .Machine$integer.max, na.rm = TRUE)) refused("a date that isn't finite")
  as.integer(days)
}

# Seconds since 1970 in UTC, whatever time zone they are shown in. The bound is the year 9999.
whole_seconds <- function(x, refused) {
  seconds <- as.double(unclass(x))
  if (any(abs(seconds) > 253402300800, na.rm = TRUE)) refused("a time after the year 9999, or before -6060")
  seconds
}

# To a draw, what the user declared missing is missing.
without_user_missing <- function(x) {
  values <- attr(x, "na_values", exact = TRUE)
  range <- attr(x, "na_range", exact = TRUE)
  plain <- as.vector(unclass(x))
  attributes(plain) <- NULL
  isMissing <- plain %in% values
  if (length(range) == 2L) isMissing <- isMissing | (!is.na(plain) & plain >= range[[1L]] & plain <= range[[2L]])
  if (any(isMissing)) plain[isMissing] <- NA
  plain
}

# --- progress ---------------------------------------------------------------------------------------------------------

# A function to be told the progress, or NULL.
teller <- function(progress) {
  if (is.function(progress)) return(progress)
  if (is.null(check_flag(progress, "progress"))) return(NULL)
  function(step, pass, cases, total) {
    share <- if (is.na(total) || total == 0) "" else sprintf(", %.0f %%", 100 * cases / total)
    cat(sprintf("\r%-6s pass %d%-8s", step, pass, share), file = stderr())
  }
}
