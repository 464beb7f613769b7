# What is drawn: the program's sample, from a data frame of whatever types, and its design. SVSELECT_PROGRAM is the
# program to compare with, and SVSELECT_REPOSITORY the repository of its plans; without these the comparisons are left
# out.
library(svselect)
program <- Sys.getenv("SVSELECT_PROGRAM")
repository <- Sys.getenv("SVSELECT_REPOSITORY")
extdata <- function(name) system.file("extdata", name, package = "svselect")
schools <- read.csv(extdata("schools.csv"), colClasses = c(school_id = "character"))
municipalities <- read.csv(extdata("municipalities.csv"))
plain <- function(sample) {
  attr(sample, "svselect") <- NULL
  structure(sample, class = "data.frame")
}

run <- function(...) {
  out <- tempfile()
  status <- system2(program, shQuote(c("run", "--quiet", ...)), stdout = out, stderr = out)
  if (status != 0L) stop(paste(readLines(out), collapse = "\n"))
}

# Numbers as a correct parser reads them: read.csv() may be off by the last bit.
same_digits <- function(found, file) {
  expected <- read.csv(file, colClasses = "character", check.names = FALSE)
  stopifnot(identical(names(found), names(expected)), nrow(found) == nrow(expected))
  for (name in names(found)) {
    values <- found[[name]]
    read <- expected[[name]]
    if (is.numeric(values)) {
      values <- as.double(values)
      read <- vapply(read, function(x) if (x == "") NA_real_ else svselect:::from_json(x), 0, USE.NAMES = FALSE)
    }
    if (!identical(values, read)) stop(sprintf("%s: %s differs", file, name))
  }
}

same_as_program <- function(plan, frame, joint) {
  path <- file.path(repository, "examples", "plans", paste0(plan, ".json"))
  files <- file.path(tempdir(), c("frame.csv", "sample.csv", "joint.csv"))
  write.csv(frame, files[[1L]], row.names = FALSE, na = "")
  run("--plan", path, "--data", files[[1L]], "--seed", "4711", "--exact-design", "--sample", files[[2L]],
      if (joint) c("--joint", files[[3L]]))
  for (threads in c(1, 3)) {
    s <- draw_sample(read_plan(path), frame, seed = 4711, exact_design = TRUE, joint = joint, threads = threads)
    same_digits(plain(s), files[[2L]])
    if (joint) same_digits(joint_probabilities(s), files[[3L]])
  }
  ofFile <- draw_sample(read_plan(path), files[[1L]], seed = 4711, exact_design = TRUE)
  same_digits(plain(ofFile), files[[2L]])
}

if (nzchar(program)) {
  same_as_program("simple-wor", schools, FALSE)
  same_as_program("simple-wr", schools, FALSE)
  same_as_program("simple-systematic", schools, FALSE)
  same_as_program("pps-chromy", schools[!is.na(schools$enrolment), ], FALSE)
  same_as_program("three-stages", schools, FALSE)
  same_as_program("two-stages", schools, TRUE)
  same_as_program("pps-systematic", municipalities, FALSE)
  for (plan in c("pps-brewer", "pps-murthy", "pps-sampford", "pps-wor")) same_as_program(plan, municipalities, TRUE)
}

# Columns of all kinds. Each as strata, with a case of each: the numbers of cases by value are table()'s.
n <- 4001
set.seed(1)
pick <- function(values) values[sample.int(length(values), n, replace = TRUE)]
noon <- as.POSIXct("2026-03-29 00:30:00", tz = "Europe/Berlin")
latin1 <- c("gr\xfc\xdfe", "x")
Encoding(latin1) <- "latin1"
kinds <- list(
  logical = pick(c(TRUE, FALSE, NA)), integer = pick(c(-3L, 0L, 2147483647L, NA)),
  double = pick(c(0.1, -1e300, 2^60, NA, NaN)),
  text = pick(c("a", "gr\u00fc\u00dfe", strrep("long ", 50), NA)), latin1 = pick(latin1),
  factor = pick(factor(c("z", "a", NA), levels = c("z", "unused", "a"))), na_level = addNA(pick(factor(c("u", NA)))),
  date = pick(as.Date(c("1899-12-31", "2026-02-28", NA))), whole_date = pick(structure(c(1L, NA), class = "Date")),
  part_date = pick(structure(c(1, 1.7, -0.2), class = "Date")),
  time = pick(c(noon + 3600 * 0:3, NA)), posixlt = as.POSIXlt(pick(noon + 0:1)),
  difference = as.difftime(pick(1:2), units = "mins"),
  labelled = structure(pick(c(1, 2, 98, 99)),
                       class = c("haven_labelled_spss", "haven_labelled", "vctrs_vctr", "double"),
                       labels = c(yes = 1), na_values = 99, na_range = c(97, 98), label = "Answer"))
for (kind in names(kinds)) {
  frame <- list2DF(list(unit = seq_len(n), x = kinds[[kind]]))
  s <- draw_sample(sampling_plan("x") |> stage("simple_wor", strata = "x", n = 1), frame, seed = 1)
  chosen <- frame$x[s$unit]
  if (kind == "labelled") attributes(chosen) <- attributes(frame$x)  # as haven's own methods have it
  stopifnot(identical(s$x, chosen))
  found <- with(sample_strata(s), sort(round(drawn / drawn_rate)))
  values <- if (kind == "labelled") unclass(frame$x)[frame$x < 97] else as.character(frame$x)
  expected <- sort(as.vector(table(values[!is.na(values) & values != "NaN"])))
  if (!identical(as.double(found), as.double(expected))) stop(kind, ": other strata than R has")
}
whole <- structure(c(4.94065645841246544e-324, 0, -0), class = "integer64")  # 1, 0, and no number
described <- describe_frame(list2DF(list(whole = whole)))
stopifnot(described$column_type == "BIGINT", described$valid == 2, described$missing == 1,
          described$smallest == 0, described$largest == 1)

# Types that only files have.
if (nzchar(program)) {
  query <- paste(
    "SELECT * FROM (VALUES (9007199254740993, 123456789012345678.25::DECIMAL(20, 2), 1.5::DECIMAL(5, 2), 7::UTINYINT,",
    "TIME '12:34:56.75', TIMESTAMP '2026-01-02 03:04:05.5', DATE '1900-02-28', true), (-1, -0.25, -0.05, 255, NULL,",
    "NULL, NULL, NULL)) t(long, decimal, money, small, time, stamp, day, flag)")
  files <- file.path(tempdir(), c("plan.json", "types.parquet"))
  write_plan(sampling_plan("x", weight = "w") |> stage("simple_wor", n = 2), files[[1L]])
  run("--plan", files[[1L]], "--sql", query, "--sample", files[[2L]])
  s <- plain(draw_sample(sampling_plan("x") |> stage("simple_wor", n = 2), files[[2L]]))
  stopifnot(identical(s[1:8], data.frame(
    long = c("9007199254740993", "-1"), decimal = c("123456789012345678.25", "-0.25"), money = c(1.5, -0.05),
    small = c(7L, 255L), time = structure(c(45296.75, NA), class = "difftime", units = "secs"),
    stamp = as.POSIXct(c("2026-01-02 03:04:05.5", NA), tz = "UTC"), day = as.Date(c("1900-02-28", NA)),
    flag = c(TRUE, NA))))
}

# Plans survive their texts, and ways to write a request are the same.
byName <- sampling_plan("\"q\" \\ \u00e4\n", previous_weight = NULL) |>
  stage("simple_wor", strata = "type", n = c(E = 5, H = 3, M = 2), label = "L", write = c(population = "N"))
byTable <- sampling_plan("\"q\" \\ \u00e4\n") |>
  stage("simple_wor", strata = "type", n = data.frame(type = factor(c("E", "H", "M")), n = c(5, 3, 2)), label = "L",
        write = c(population = "N"))
long <- "0.30000000000000004"
stopifnot(identical(byName$text, byTable$text), identical(svselect:::to_json(svselect:::from_json(long)), long))
path <- tempfile()
write_plan(byName, path)
stopifnot(identical(read_plan(path)$text, byName$text), check_plan(read_plan(path), schools))
tables <- lapply(list(byName, read_plan(path)), function(plan) plain(draw_sample(plan, schools, seed = 5)))
stopifnot(identical(tables[[1L]], tables[[2L]]), nrow(tables[[1L]]) == 10L)

# Options.
plan <- sampling_plan("x") |> stage("simple_wor", n = 20)
frame <- sampling_frame(schools)
draw <- function(...) draw_sample(plan, frame, seed = 3, ...)
stopifnot(setequal(names(draw(keep = c("type", "school_id"))), c("type", "school_id", "sample_weight")),
          !identical(plain(draw(sort = "enrolment")), plain(draw())), identical(plain(draw()), plain(draw())),
          sample_report(draw())$status == "ok", identical(sample_strata(draw())$drawn, 20L))

# Previews agree with what is drawn, as far as it doesn't depend on the draw.
plan <- sampling_plan("x") |>
  stage("pps_wor", strata = "region", clusters = "municipality", n = 3, size = "population", write = c(probability = "p"))
foreseen <- preview_plan(plan, municipalities, cost = c(100, 0, 2.5))
s <- draw_sample(plan, municipalities, seed = 3)
strata <- preview_strata(foreseen)
stopifnot(foreseen$ok, identical(as.double(strata$possible), as.double(sample_strata(s)$drawn)),
          identical(as.double(strata$region), as.double(sample_strata(s)$region)),
          all.equal(foreseen$sample$cost, 100 + 2.5 * 21),
          s$p >= strata$probability_min[match(s$region, strata$region)],
          s$p <= strata$probability_max[match(s$region, strata$region)], sum(strata$units) == nrow(municipalities))
bad <- preview_plan(sampling_plan("x") |> stage("simple_wor", strata = "nowhere", n = 1), schools)
stopifnot(!bad$ok, is.null(bad$stages), grepl("nowhere", bad$messages$text),
          any(grepl("A draw fails", capture.output(bad))))

# The README's code, one block after the other.
if (nzchar(repository)) local({
  folder <- setwd(tempdir())
  on.exit(setwd(folder))
  file.symlink(file.path(repository, "examples"), "examples")
  file.copy(file.path(repository, "examples", "plans", "two-stages.xml"), "plan.xml")
  lines <- readLines(file.path(repository, "bindings", "r", "README.md"))
  at <- cumsum(startsWith(lines, "```"))
  names <- new.env()
  for (block in split(lines, at)) {
    if (block[[1L]] == "```r") eval(parse(text = block[-1L]), names)
  }
  stopifnot(nrow(names$s) > 100L, inherits(names$d, "survey.design"))
})
