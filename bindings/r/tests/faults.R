# What goes wrong: a condition with the message, and the next draw is as good as ever.
library(svselect)
frame <- data.frame(unit = 1:1000, size = 1 + 0:999 %% 7)
plan <- sampling_plan("x") |> stage("simple_wor", n = 5)
expected <- draw_sample(plan, frame, seed = 1)$unit

fails <- function(what, class, said) {
  error <- tryCatch(eval.parent(what), error = identity)
  if (!inherits(error, paste0("svselect_", class, "_error")) || !grepl(said, conditionMessage(error), fixed = TRUE)) {
    stop(deparse(what)[[1L]], ": ", paste(class(error), collapse = "/"), ": ", conditionMessage(error))
  }
  stopifnot(nrow(error$messages) > 0L, !grepl("/tmp", conditionMessage(error)),
            identical(draw_sample(plan, frame, seed = 1)$unit, expected))
}

# Frames.
bytes <- "gr\xfc\xdfe"
marked <- `Encoding<-`(bytes, "bytes")
columns <- list(
  list(as.list(1:2), "column \"odd\" is of a type that can't be a variable: list"), list(complex(2), "complex"),
  list(raw(2), "raw"), list(I(matrix(1:4, 2)), "a table in a column"), list(data.frame(1:2), "a table in a column"),
  list(structure(1:2, class = "yearmon"), "yearmon"), list(c("a", bytes), "no text in UTF-8"),
  list(c("a", marked), "no text in UTF-8"), list(as.Date(c(Inf, 0), origin = "1970-01-01"), "isn't finite"),
  list(as.POSIXct(c(1e300, 0), origin = "1970-01-01"), "9999"),
  list(1:3, "don't have the same length"), list(quote(x), "symbol"))
for (column in columns) {
  odd <- structure(list(unit = 1:2, odd = column[[1L]]), class = "data.frame", row.names = 1:2)
  fails(quote(draw_sample(plan, odd)), "frame", column[[2L]])
}
named <- function(...) `names<-`(frame, c(...))
fails(quote(draw_sample(plan, named("a", "a"))), "frame", "two columns are named \"a\" and \"a\"")
fails(quote(draw_sample(plan, named("a", "A"))), "frame", "two columns are named \"a\" and \"A\"")
fails(quote(draw_sample(plan, named("a", NA))), "frame", "a column has no name")
fails(quote(draw_sample(plan, named("a", bytes))), "frame", "no text in UTF-8")
fails(quote(draw_sample(plan, data.frame())), "frame", "it has no column")
fails(quote(draw_sample(plan, frame[0, ])), "frame", "no valid cases")
fails(quote(draw_sample(plan, "no-such-file.csv")), "frame", "there is no such file")
fails(quote(draw_sample(plan, list(unit = 1))), "argument", "a frame is")
fails(quote(draw_sample(plan, c("a", "b"))), "argument", "a frame is")
stopifnot(identical(draw_sample(plan, named("unit", "svselect_row"), seed = 1)$unit, expected))

# Plans and options.
fails(quote(draw_sample(sampling_plan("x"), frame)), "plan", "1 to 3 stages")
fails(quote(draw_sample(sampling_plan("x") |> stage("simple_war", n = 5), frame)), "plan", "simple_war")
fails(quote(draw_sample(sampling_plan("x") |> stage("simple_wor", n = 5, strata = "county"), frame)), "plan", "county")
fails(quote(draw_sample(plan, frame, keep = "unti")), "plan", "unti")
fails(quote(draw_sample(plan, frame, sort = "unti")), "frame", "unti")
fails(quote(draw_sample(plan, frame, seed = 0)), "argument", "isn't a seed")
fails(quote(draw_sample(plan, frame, stages = 4)), "argument", "a list of stages")
for (bad in list(NA, "a", 1.5, 1:2, Inf, list(1), factor(1))) {
  fails(quote(draw_sample(plan, frame, seed = bad)), "argument", "seed")
  fails(quote(draw_sample(plan, frame, threads = bad)), "argument", "threads")
}
for (bad in list(NA_character_, 1, character(), list("unit"))) {
  fails(quote(draw_sample(plan, frame, keep = bad)), "argument", "keep")
  fails(quote(stage(plan, "simple_wor", strata = bad)), "argument", "strata")
}
fails(quote(draw_sample(plan$text, frame)), "argument", "plan")
fails(quote(preview_plan(plan, frame, cost = "a")), "argument", "cost")
fails(quote(preview_strata(preview_plan(plan, frame), 2)), "argument", "no stage 2")
fails(quote(stage(plan, "simple_wor", n = c(a = 1))), "argument", "one strata variable")
fails(quote(stage(plan, "simple_wor", n = data.frame(a = NA, n = 1))), "argument", "categories")
fails(quote(stage(plan, "simple_wor", size_min = 1)), "argument", "there is none")
fails(quote(joint_probabilities(draw_sample(plan, frame))), "argument", "weren't asked for")
stopifnot(!check_plan(sampling_plan("x") |> stage("simple_wor", n = 5, strata = "county"), frame))

setwd(tempdir())
file <- "plan"
for (text in list("no plan", "{\"svselect_plan\": 1", "", strrep("[", 1e5),
                  "{\"svselect_plan\": 1, \"stages\": [{\"method\": \"\\uD800\"}]}")) {
  writeLines(text, file)
  fails(quote(draw_sample(read_plan(file), frame)), "plan", "")
}
writeBin(as.raw(c(0x7b, 0, 0x7d)), file)
fails(quote(read_plan(file)), "plan", "no plan")

# Interrupts, and errors of a function that is told the progress, in a draw that would never end: it begins anew until
# no unit comes up twice.
writeLines(c("<KORVSurveyPlans><SampleDesign><SampleStage selectionMethod='pps_sampford'><ClusterVarList>",
             "<Variable name='unit'/></ClusterVarList><InputSampleSize><SingleValue value='200'/></InputSampleSize>",
             "<MOS fromData='no'><Variable name='size'/></MOS></SampleStage><Weight><Variable name='w'/></Weight>",
             "</SampleDesign></KORVSurveyPlans>"), file)
endless <- read_plan(file)
when_drawing <- function(act) draw_sample(endless, frame, progress = function(step, pass, cases, total) {
  if (pass > 0L) act(total)
})
interrupt <- function(...) {
  tools::pskill(Sys.getpid(), tools::SIGINT)
  Sys.sleep(5)
}
stopifnot(identical(tryCatch(when_drawing(interrupt), interrupt = function(e) "interrupted"), "interrupted"),
          identical(tryCatch(when_drawing(function(total) stop(total)), error = conditionMessage), "1000"),
          identical(callCC(function(leave) when_drawing(leave)), 1000),
          identical(withRestarts(when_drawing(function(total) invokeRestart("out", 7)), out = identity), 7))
fails(quote(when_drawing(function(total) draw_sample(plan, frame))), "argument", "from within a callback")

# Frames of other processes and sessions.
taken <- sampling_frame(frame)
forked <- parallel::mclapply(1:2, function(i) {
  list(conditionMessage(tryCatch(draw_sample(plan, taken), error = identity)), draw_sample(plan, frame, seed = 1)$unit)
}, mc.cores = 2L)
for (one in forked) stopifnot(grepl("forked", one[[1L]]), identical(one[[2L]], expected))
saveRDS(taken, file)
saved <- readRDS(file)
stopifnot(grepl("another session", conditionMessage(tryCatch(draw_sample(plan, saved), error = identity))))
s <- draw_sample(plan, taken, seed = 1)
saveRDS(s, file)
stopifnot(identical(readRDS(file), s), identical(sample_strata(readRDS(file))$drawn, 5L))

# R collects its garbage at every allocation: whatever isn't protected is gone.
small <- data.frame(unit = 1:5, text = c("a", NA, strrep("long", 9), "", "e"),
                    day = as.Date(0:4, origin = "2026-01-01"))
all <- sampling_plan("x") |> stage("simple_wor", n = 5)
gctorture(TRUE)
s <- draw_sample(all, small, seed = 1)
error <- tryCatch(draw_sample(plan, small[0, ], seed = 1), error = conditionMessage)
gctorture(FALSE)
stopifnot(identical(s$text, small$text[s$unit]), grepl("no valid cases", error))
