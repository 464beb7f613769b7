# Plans: how a sample is drawn.

sampling_plan <- function(title, weight = "sample_weight", previous_weight = NULL, with_replacement_estimates = FALSE) {
  spec <- list(svselect_plan = 1, title = check_names(title, "title", several = FALSE), stages = list(),
               previous_weight = check_names(previous_weight, "previous_weight", several = FALSE),
               weight = check_names(weight, "weight", several = FALSE),
               with_replacement_estimates = check_flag(with_replacement_estimates, "with_replacement_estimates"))
  plan_of(spec)
}

plan_of <- function(spec, text = paste0(to_json(spec), "\n")) {
  structure(list(text = text, spec = spec), class = "svselect_plan")
}

check_is_plan <- function(plan) {
  if (!inherits(plan, "svselect_plan")) refuse("plan: a plan of sampling_plan() or read_plan() expected")
  plan
}

# The measure of size that is a unit's number of cases.
cases <- function() structure(list(), class = "svselect_cases")

stage <- function(plan, method, strata = NULL, clusters = NULL, n = NULL, rate = NULL, min = NULL, max = NULL,
                  size = NULL, size_min = NULL, size_max = NULL, label = NULL, write = NULL,
                  order = NULL, serpentine = FALSE, certainty = FALSE, reserve = NULL) {
  if (is.null(check_is_plan(plan)$spec)) refuse("plan: a stage can't be added to a plan in XML")
  strata <- check_names(strata, "strata")
  added <- list(label = check_names(label, "label", several = FALSE),
                strata = as_array(strata),
                clusters = as_array(check_names(clusters, "clusters")),
                method = check_names(method, "method", several = FALSE),
                n = requested(n, "n", strata), rate = requested(rate, "rate", strata),
                min = check_number(min, "min"), max = check_number(max, "max"),
                size = measure(size, check_number(size_min, "size_min"), check_number(size_max, "size_max")),
                order = as_array(check_names(order, "order")), serpentine = check_flag(serpentine, "serpentine"),
                certainty = if (is.numeric(certainty)) check_number(certainty, "certainty") else
                  check_flag(certainty, "certainty"),
                reserve = check_number(reserve, "reserve"),
                write = written(write))
  if (is.null(added$method)) refuse("method: a name expected")
  spec <- plan$spec
  spec$stages <- c(spec$stages, list(added))
  plan_of(spec)
}

as_array <- function(names) if (!is.null(names)) I(names)

check_number <- function(x, what) {
  if (is.null(x)) return(NULL)
  if (!is.numeric(x) || is.object(x) || length(x) != 1L || !is.finite(x)) refuse(sprintf("%s: a number expected", what))
  as.double(x)
}

# A number for all strata; the name of a variable; a number for each category of the only variable of the strata, by
# names; or a data frame of categories, with the numbers in its last column.
requested <- function(x, what, strata) {
  if (is.null(x)) return(NULL)
  if (is.data.frame(x)) return(table_of(x, what))
  if (is.character(x)) return(list(variable = check_names(x, what, several = FALSE)))
  if (is.null(names(x))) return(check_number(x, what))
  if (length(strata) != 1L) {
    refuse(sprintf("%s: numbers with names are for a stage with one strata variable; use a data frame", what))
  }
  table_of(stats::setNames(data.frame(names(x), unname(x)), c(strata, "number")), what)
}

table_of <- function(x, what) {
  last <- length(x)
  if (last < 2L || nrow(x) == 0L || !is.numeric(x[[last]])) {
    refuse(sprintf("%s: a data frame of categories, with the numbers in its last column, expected", what))
  }
  x[] <- lapply(x, function(column) if (is.factor(column)) as.character(column) else column)
  is_plain <- function(column) (is.character(column) || is.numeric(column)) && !is.object(column) && !anyNA(column)
  if (!all(vapply(x, is_plain, NA))) refuse(sprintf("%s: categories are texts and numbers, and none is missing", what))
  rows <- lapply(seq_len(nrow(x)), function(i) unname(lapply(x, function(column) column[[i]])))
  list(by = I(names(x)[-last]), rows = rows)
}

measure <- function(size, least, most) {
  bounds <- list(min = least, max = most)
  if (is.null(size)) {
    if (!is.null(least) || !is.null(most)) refuse("size_min and size_max bound a size; there is none")
    return(NULL)
  }
  if (!inherits(size, "svselect_cases")) return(c(list(variable = check_names(size, "size", several = FALSE)), bounds))
  if (is.null(least) && is.null(most)) "cases" else c(list(cases = TRUE), bounds)
}

written <- function(write) {
  if (is.null(write)) return(NULL)
  if (is.null(names(write))) refuse("write: names expected, as in c(probability = \"p\")")
  stats::setNames(as.list(check_names(unlist(write), "write")), names(write))
}

read_plan <- function(path) {
  path <- path.expand(check_names(path, "path", several = FALSE))
  if (!file.exists(path) || dir.exists(path)) fail("svselect_plan_error", sprintf("%s: there is no such file", path))
  bytes <- readBin(path, "raw", file.size(path))
  if (any(bytes == 0)) fail("svselect_plan_error", sprintf("%s: this is no plan", path))
  text <- rawToChar(bytes)
  Encoding(text) <- "UTF-8"
  if (!validUTF8(text)) fail("svselect_plan_error", sprintf("%s: the plan isn't in UTF-8", path))
  # A faulty plan is read as well: the library says where its faults are.
  spec <- if (!grepl("^\ufeff?\\s*<", text)) tryCatch(from_json(sub("^\ufeff", "", text)), error = function(e) NULL)
  plan_of(if (is.list(spec)) spec, text)
}

write_plan <- function(plan, path) {
  writeBin(charToRaw(check_is_plan(plan)$text), path.expand(check_names(path, "path", several = FALSE)))
  invisible(plan)
}

format.svselect_plan <- function(x, ...) x$text

print.svselect_plan <- function(x, ...) {
  cat(x$text)
  invisible(x)
}

check_plan <- function(plan, frame = NULL, exact_design = FALSE, strict = FALSE, threads = 0) {
  check_is_plan(plan)
  threads <- check_threads(threads)
  options <- list(exact_design = check_flag(exact_design, "exact_design"), strict = check_flag(strict, "strict"))
  if (!is.null(frame)) {
    given <- frame
    frame <- sampling_frame(given, threads = threads)
    on.exit(close_own(frame, given))
  }
  answer <- require_good(.Call(svr_check, plan$text, frame$handle, to_json(options), threads), expected = 2L)
  structure(answer[[1L]] == 0L, messages = said(answer), class = "svselect_check")
}

print.svselect_check <- function(x, ...) {
  cat(if (x) "The plan can be used.\n" else "The plan can't be used.\n")
  show_messages(attr(x, "messages"))
  invisible(x)
}

show_messages <- function(messages) {
  if (nrow(messages) > 0L) cat(paste0(messages$level, ": ", messages$text, "\n"), sep = "")
}
