# Samples: what a draw gives.

draw_sample <- function(plan, frame, seed = NULL, joint = FALSE, stages = NULL, exact_design = FALSE, strict = FALSE,
                        keep = NULL, weight = NULL, split = NULL, sort = NULL, threads = 0, progress = FALSE,
                        serpentine = FALSE) {
  check_is_plan(plan)
  threads <- check_threads(threads)
  options <- list(
    seed = check_whole(seed, "seed"), joint = check_flag(joint, "joint"),
    stages = if (!is.null(stages)) I(check_whole(stages, "stages", several = TRUE)),
    exact_design = check_flag(exact_design, "exact_design"), strict = check_flag(strict, "strict"),
    weight = check_names(weight, "weight", several = FALSE),
    split = as_array(check_names(split, "split")), sort = as_array(check_names(sort, "sort")),
    serpentine = check_flag(serpentine, "serpentine"))
  keep <- check_names(keep, "keep")
  tell <- teller(progress)
  given <- frame
  frame <- sampling_frame(given, threads = threads, progress = if (is.null(tell)) FALSE else tell)
  on.exit(close_own(frame, given))
  if (!is.null(keep)) options$keep <- I(c(keep, frame$row))
  answer <- require_good(.Call(svr_draw, plan$text, frame$handle, to_json(options), threads, tell))
  if (isTRUE(progress)) cat("\n", file = stderr())
  sample_of(plan, frame, answer)
}

table_names <- c(sample = 0L, joint = 1L, strata = 2L)

# A table of a result as a data frame, or NULL.
result_table <- function(result, which) {
  columns <- .Call(svr_table, result, table_names[[which]])
  if (is.null(columns)) return(NULL)
  rows <- if (length(columns) == 0L) 0L else length(columns[[1L]])
  structure(columns, class = "data.frame", row.names = .set_row_names(rows))
}

sample_of <- function(plan, frame, answer) {
  found <- result_table(answer[[3L]], "sample")
  cases <- with_rows_of(frame, found)
  messages <- said(answer)
  drawn <- list(plan = plan, messages = messages, strata = result_table(answer[[3L]], "strata"),
                joint = result_table(answer[[3L]], "joint"), report = .Call(svr_result_json, answer[[3L]]),
                version = .Call(svr_version))
  .Call(svr_close_result, answer[[3L]])
  if (!is.null(plan$spec)) drawn$weights <- as.double(found[[plan$spec$weight]])
  for (text in messages$text[messages$level == "warning"]) warning(text, call. = FALSE)
  structure(cases, class = c("svselect_sample", "data.frame"), svselect = drawn)
}

# The variables of the frame are the data frame's own, and those of the plan are new.
with_rows_of <- function(frame, found) {
  if (is.null(frame$data)) return(found)
  rows <- found[[frame$row]]
  cases <- found[names(found) != frame$row]
  ofFrame <- match(names(cases), utf8(names(frame$data), "the name of a column"))
  for (i in which(!is.na(ofFrame))) cases[[i]] <- elements(.subset2(frame$data, ofFrame[[i]]), rows)
  cases
}

# Elements of a vector with its attributes, whether or not the package of its class is there.
elements <- function(x, rows) {
  if (inherits(x, "POSIXlt")) return(x[rows])
  chosen <- unclass(x)[rows]
  kept <- attributes(x)
  attributes(chosen) <- kept[setdiff(names(kept), "names")]
  chosen
}

# What belongs to a sample, as it was drawn.
drawn <- function(sample) {
  found <- attr(sample, "svselect", exact = TRUE)
  if (is.null(found)) refuse("this is no sample of draw_sample(), or only a part of one")
  found
}

print.svselect_sample <- function(x, n = 10L, ...) {
  found <- attr(x, "svselect", exact = TRUE)
  rows <- as.data.frame(x)
  class(rows) <- "data.frame"
  attr(rows, "svselect") <- NULL
  cat(sprintf("A sample of %d cases\n", nrow(rows)))
  print(head(rows, n), ...)
  if (nrow(rows) > n) cat(sprintf("... and %d more\n", nrow(rows) - n))
  if (!is.null(found)) show_messages(found$messages)
  invisible(x)
}

sample_messages <- function(sample) drawn(sample)$messages

sample_report <- function(sample) from_json(drawn(sample)$report)

sample_strata <- function(sample) drawn(sample)$strata

joint_probabilities <- function(sample) {
  joint <- drawn(sample)$joint
  if (is.null(joint)) refuse("there are no joint probabilities: they weren't asked for, or the design has none")
  joint
}

joint_matrix <- function(sample, stratum = NULL) {
  joint <- joint_probabilities(sample)
  stratum <- as.list(stratum)
  if (length(stratum) > 0L && (is.null(names(stratum)) || any(names(stratum) == ""))) {
    refuse("a stratum is given as in joint_matrix(sample, list(region = \"north\"))")
  }
  chosen <- rep(TRUE, nrow(joint))
  for (name in names(stratum)) {
    if (!name %in% names(joint)) refuse(sprintf("the joint probabilities have no variable \"%s\"", name))
    if (length(stratum[[name]]) != 1L) refuse(sprintf("%s: one value expected", name))
    chosen <- chosen & joint[[name]] %in% as.vector(stratum[[name]])
  }
  block <- joint[chosen, ]
  if (nrow(block) == 0L) refuse("no unit was selected in that stratum")
  if (!identical(as.double(block$Unit_No_), as.double(seq_len(nrow(block))))) {
    refuse("that isn't one stratum: give a value for each variable of the strata")
  }
  unname(as.matrix(block[paste0("Joint_Prob_", seq_len(nrow(block)), "_")]))
}
