# Previews: what a draw is going to do, before anything is drawn.

preview_plan <- function(plan, frame, cost = NULL, exact_design = FALSE, strict = FALSE, threads = 0, progress = FALSE) {
  check_is_plan(plan)
  threads <- check_threads(threads)
  if (!is.null(cost) && !(is.numeric(cost) && !is.object(cost) && all(is.finite(cost)))) refuse("cost: numbers expected")
  options <- list(exact_design = check_flag(exact_design, "exact_design"), strict = check_flag(strict, "strict"),
                  cost = if (!is.null(cost)) I(as.double(cost)))
  tell <- teller(progress)
  given <- frame
  frame <- sampling_frame(given, threads = threads, progress = if (is.null(tell)) FALSE else tell)
  on.exit(close_own(frame, given))
  answer <- .Call(svr_preview, plan$text, frame$handle, to_json(options), threads, tell)
  require_good(answer, expected = 2L)
  found <- if (has_result(answer)) from_json(.Call(svr_result_json, answer[[3L]]))
  .Call(svr_close_result, answer[[3L]])
  structure(list(ok = answer[[1L]] == 0L, messages = said(answer), sample = found$sample, stages = found$stages),
            class = "svselect_preview")
}

preview_strata <- function(preview, stage = 1) {
  if (!inherits(preview, "svselect_preview")) refuse("a preview of preview_plan() expected")
  found <- Filter(function(one) identical(one$stage, check_whole(stage, "stage")), preview$stages)
  if (length(found) == 0L) refuse(sprintf("the preview has no stage %s", format(stage)))
  strata <- found[[1L]]$strata
  pick <- function(...) {
    values <- lapply(strata, function(one) tryCatch(one[[c(...)]], error = function(e) NULL))
    unlist(lapply(values, function(value) if (is.null(value)) NA else value))
  }
  names <- as.character(unlist(found[[1L]]$variables))
  columns <- c(lapply(stats::setNames(nm = names), function(name) pick("values", name)),
               lapply(stats::setNames(nm = c("units", "cases", "asked", "possible", "drawn")), pick),
               list(probability_min = pick("probability", "min"), probability_max = pick("probability", "max"),
                    weight_min = pick("weight", "min"), weight_max = pick("weight", "max")))
  data.frame(columns, check.names = FALSE)
}

print.svselect_preview <- function(x, n = 20L, ...) {
  numbers <- c(cases_of_frame = "Cases of the frame", expected_cases = "Cases of the sample",
               expected_sum_of_weights = "Sum of the weights", design_effect = "Design effect of unequal weights",
               cost = "Cost")
  known <- intersect(names(numbers), names(x$sample))
  if (length(known) > 0L) {
    cat("Sample to be expected\n")
    cat(sprintf("  %-34s %s\n", numbers[known], vapply(x$sample[known], format, "", digits = 6L)), sep = "")
  }
  for (stage in x$stages) {
    strata <- preview_strata(x, stage$stage)
    cat(sprintf("Stage %d: %s\n", as.integer(stage$stage), stage$method))
    print(head(strata, n), row.names = FALSE, ...)
    if (nrow(strata) > n) cat(sprintf("... and %d more\n", nrow(strata) - n))
  }
  cat(if (x$ok) "A draw can begin.\n" else "A draw fails.\n")
  show_messages(x$messages)
  invisible(x)
}
