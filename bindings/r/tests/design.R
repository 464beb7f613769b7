# as_svydesign(): totals and standard errors are those of designs that are made by hand, as docs/GUIDE.md has them.
library(svselect)
library(survey)
extdata <- function(name) system.file("extdata", name, package = "svselect")
schools <- read.csv(extdata("schools.csv"), colClasses = c(school_id = "character"))
schools$type <- factor(schools$type)
municipalities <- read.csv(extdata("municipalities.csv"))

same_estimates <- function(formula, design, expected) {
  found <- svytotal(formula, design, na.rm = TRUE)
  wanted <- svytotal(formula, expected, na.rm = TRUE)
  stopifnot(all.equal(as.vector(coef(found)), as.vector(coef(wanted)), tolerance = 1e-12),
            all.equal(as.vector(SE(found)), as.vector(SE(wanted)), tolerance = 1e-9), SE(found) > 0)
}

# Simple random samples, in one stage and in two, whose populations the plan writes for the design by hand alone.
one <- sampling_plan("x") |>
  stage("simple_wor", strata = "type", n = c(E = 50, M = 30, H = 20), write = c(population = "N"))
by_type <- function(data) svydesign(ids = ~1, strata = ~type, fpc = ~N, weights = ~sample_weight, data = data)
s <- draw_sample(one, schools, seed = 1)
same_estimates(~enrolment, as_svydesign(s), by_type(s))
two <- sampling_plan("x") |>
  stage("simple_wor", clusters = "county", n = 9, write = c(population = "counties")) |>
  stage("simple_wor", strata = "type", rate = .2, min = 2, max = 60, write = c(population = "schools"))
s <- draw_sample(two, schools, seed = 2)
s$all <- 1
same_estimates(~api00, as_svydesign(s),
               svydesign(ids = ~county + school_id, strata = ~all + type, fpc = ~counties + schools,
                         weights = ~sample_weight, data = s))

# Unequal probabilities, then simple random samples: the probabilities of the first stage from wherever they are.
counties <- function(write) {
  sampling_plan("x") |>
    stage("pps_sampford", clusters = "county", n = 4, size = cases(), write = write) |>
    stage("simple_wor", strata = "type", n = 8, write = c(probability = "p2"))
}
s <- draw_sample(counties(c(probability = "p1")), schools, seed = 3, joint = TRUE, exact_design = TRUE)
s$all <- 1
byHand <- svydesign(ids = ~county + school_id, strata = ~all + type, fpc = ~p1 + p2, data = s, pps = "brewer")
same_estimates(~enrolment, as_svydesign(s), byHand)
unwritten <- draw_sample(counties(NULL), schools, seed = 3, joint = TRUE, exact_design = TRUE)
same_estimates(~enrolment, as_svydesign(unwritten), byHand)
neither <- draw_sample(counties(NULL), schools, seed = 3, exact_design = TRUE)
said <- tryCatch(as_svydesign(neither), warning = conditionMessage)
stopifnot(grepl("joint = TRUE", said))
same_estimates(~enrolment, suppressWarnings(as_svydesign(neither)),
               svydesign(ids = ~county, weights = ~sample_weight, data = neither))

# Joint probabilities: the matrix by the guide's code. The keys have types that the library has otherwise.
municipalities$region <- factor(municipalities$region, levels = 7:1)
municipalities$since <- as.POSIXct("2026-01-01", tz = "Asia/Tokyo") + municipalities$municipality
for (method in c("pps_wor", "pps_sampford")) {  # the first numbers the units otherwise than the cases
  plan <- sampling_plan("x") |>
    stage(method, strata = "region", clusters = c("since", "municipality"), n = 3, size = "population",
          write = c(probability = "p"))
  s <- draw_sample(plan, municipalities, seed = 4, joint = TRUE, exact_design = TRUE)
  j <- joint_probabilities(s)
  P <- outer(s$p, s$p)
  for (h in split(seq_len(nrow(j)), j$region)) {
    at <- match(j$municipality[h], s$municipality)
    P[at, at] <- as.matrix(j[h, paste0("Joint_Prob_", seq_along(h), "_")])
  }
  byHand <- svydesign(ids = ~1, fpc = ~p, data = s, pps = ppsmat(P), variance = "YG")
  same_estimates(~households, as_svydesign(s), byHand)
}
north <- joint_matrix(s, list(region = "1"))
stopifnot(dim(north) == 3, isSymmetric(north),
          all.equal(sort(diag(north)), sort(s$p[s$region == "1"]), tolerance = 1e-14))

# With replacement: each hit on its own.
plan <- sampling_plan("x") |> stage("pps_wr", strata = "region", n = 30, size = "population", write = c(index = "hit"))
s <- draw_sample(plan, municipalities, seed = 5)
same_estimates(~households, as_svydesign(s), svydesign(ids = ~1, strata = ~region, weights = ~sample_weight, data = s))

# Answers that come later; and what isn't the sample.
s <- draw_sample(one, schools, seed = 1)
answers <- transform(as.data.frame(s), answer = seq_len(100) %% 3)
same_estimates(~answer, as_svydesign(s, answers), by_type(answers))
for (bad in list(quote(as_svydesign(s[1:50, ])), quote(as_svydesign(s, s[100:1, ])), quote(as_svydesign(schools)),
                 quote(as_svydesign(draw_sample(one, schools, keep = "api00"))))) {
  stopifnot(inherits(tryCatch(eval(bad), error = identity), "svselect_argument_error"))
}
