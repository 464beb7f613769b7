# The design of a sample for the package `survey`. The designs, from the most to the least exact; the first for which
# all is there is taken, as in the program's R code:
#
#   joint probabilities   one stage whose units are single cases            pps = ppsmat(P), variance = "YG"
#   probabilities         first stage kJoint, any further ones kSimple      pps = "brewer", fpc: probabilities
#   numbers of units      all stages kSimple                                fpc: population sizes
#   with replacement      anything else                                     the first stage's units alone
#
# What the plan doesn't write into the sample is taken from the tables of the draw: rates and sizes from that of the
# strata, probabilities of the first stage from the joint ones.

joint_methods <- c("pps_wor", "pps_brewer", "pps_murthy", "pps_sampford")

as_svydesign <- function(sample, data = sample) {
  found <- drawn(sample)
  if (!requireNamespace("survey", quietly = TRUE)) stop("as_svydesign() needs the package 'survey'", call. = FALSE)
  spec <- found$plan$spec
  if (is.null(spec)) {
    refuse("the design of a plan in XML isn't known here; svselect plan PLAN.xml --to PLAN.json makes it JSON")
  }
  data <- same_cases(sample, data, spec$weight)
  in_sample <- !is.na(data[[spec$weight]])  # reserve units have no weight
  design <- list(spec = spec, stages = drawn_stages(found), found = found, data = data[in_sample, , drop = FALSE],
                 sample = sample)
  made <- best_design(design)
  made$call <- match.call()
  made
}

best_design <- function(design) {
  if (!is_staged(design)) return(replaced_design(design))
  if (is_joint_case(design)) return(joint_design(design))
  if (!is_joint_method(design$stages[[1L]])) return(sizes_design(design))
  first <- first_probability(design)
  if (!is.null(first)) return(brewer_design(design, first))
  warning("joint = TRUE, or `probability` written by the first stage, would make the design exact; ",
          "this is that of a draw with replacement", call. = FALSE)
  replaced_design(design)
}

# A part of a sample, or one in another order, isn't the sample. Its weights, which never change, tell.
same_cases <- function(sample, data, weight) {
  if (!is.data.frame(data)) refuse("data: a data frame expected")
  data <- as.data.frame(data)
  class(data) <- "data.frame"
  attr(data, "svselect") <- NULL
  if (is.null(data[[weight]]) || !identical(as.double(data[[weight]]), drawn(sample)$weights)) {
    refuse(paste0("data: not all cases of the sample in their order, with their ", weight,
                  "; make the design of all, and use subset() on that"))
  }
  data
}

# The stages that this sample is of: those of the draw, and any earlier ones.
drawn_stages <- function(found) {
  found$plan$spec$stages[seq_len(max(as.integer(found$strata$stage), 1L))]
}

is_joint_method <- function(stage) stage$method %in% joint_methods

# Whether all stages but a first one with joint probabilities are simple random samples, of the whole population.
is_staged <- function(design) {
  later <- if (is_joint_method(design$stages[[1L]])) design$stages[-1L] else design$stages
  is.null(design$spec$previous_weight) && !isTRUE(design$spec$with_replacement_estimates) && draws_all_stages(design) &&
    all(vapply(later, function(stage) stage$method == "simple_wor", NA))
}

draws_all_stages <- function(design) setequal(design$found$strata$stage, seq_along(design$stages))

is_joint_case <- function(design) {
  length(design$stages) == 1L && !is.null(design$found$joint) &&
    nrow(design$found$joint) == nrow(design$data)
}

# --- units and strata -------------------------------------------------------------------------------------------------

# Variables by which cases are told apart, as the sample has them. Names ignore case.
columns_of <- function(design, names) {
  names <- unlist(names)
  found <- match(tolower(names), tolower(names(design$sample)))
  lacking <- names[is.na(found)]
  if (length(lacking) > 0L) refuse(sprintf("the sample lacks the variable %s, which the design takes", lacking[[1L]]))
  names(design$sample)[found]
}

# Numbers of groups: 1 to their number, by several columns at once. Equal values are equal to the library as well.
groups <- function(columns) {
  number <- function(x) match(comparable(x), unique(comparable(x)))
  all <- lapply(columns, number)
  if (length(all) == 1L) all[[1L]] else number(do.call(paste, all))
}

# Values of the frame, and of the library's tables, so that match() finds the same ones. A blank is missing to the
# library, and texts end without blanks; times are in microseconds.
comparable <- function(x) {
  if (inherits(x, "integer64")) return(trimws(format(x)))
  if (inherits(x, "factor")) x <- as.character(x)
  if (inherits(x, "POSIXct")) return(round(as.double(x) * 1e6))
  if (inherits(x, "Date")) return(floor(as.double(x)))
  if (!is.character(x)) return(as.double(without_user_missing(x)))
  x <- sub(" +$", "", utf8(x, "a text of the sample"))
  ifelse(is.na(x), "", x)
}

# Rows of a table of the library, one for each case: the first that has the values of the case in some columns.
rows_for <- function(design, table, names) {
  columns <- columns_of(design, names)
  if (length(columns) == 0L) return(rep(1L, nrow(design$data)))
  both <- lapply(seq_along(columns), function(i) {
    c(comparable(.subset2(table, match(tolower(columns[[i]]), tolower(names(table))))),
      comparable(.subset2(design$data, columns[[i]])))
  })
  number <- groups(both)
  ofTable <- seq_len(nrow(table))
  rows <- match(number[-ofTable], number[ofTable])
  if (anyNA(rows)) refuse("the cases' strata and clusters aren't those of the draw: their variables were changed")
  rows
}

# Adds to the data the numbers of units and strata of each stage, and gives their names for formulas.
with_units <- function(design) {
  for (i in seq_along(design$stages)) {
    strata <- columns_of(design, design$stages[[i]]$strata)
    clusters <- columns_of(design, design$stages[[i]]$clusters)
    design$data[[paste0("svselect_stratum_", i)]] <- if (length(strata) > 0L) groups(design$data[strata]) else 1L
    design$data[[paste0("svselect_unit_", i)]] <-
      if (length(clusters) > 0L) groups(design$data[clusters]) else seq_len(nrow(design$data))
  }
  design
}

formula_of <- function(what, count) as.formula(paste("~", paste0("svselect_", what, "_", seq_len(count), collapse = "+")))

# The rows of the strata table for the cases, of a stage.
stratum_rows <- function(design, i) {
  table <- design$found$strata[design$found$strata$stage == i, , drop = FALSE]
  earlier <- design$stages[seq_len(i - 1L)]
  names <- c(unlist(lapply(earlier, function(stage) c(stage$strata, stage$clusters))), unlist(design$stages[[i]]$strata))
  table[rows_for(design, table, unique(names)), ]
}

# --- designs ----------------------------------------------------------------------------------------------------------

joint_key <- function(design) c(design$stages[[1L]]$strata, design$stages[[1L]]$clusters)

# Units of different strata are drawn independently: their joint probabilities are products.
joint_design <- function(design) {
  joint <- design$found$joint
  rows <- rows_for(design, joint, joint_key(design))  # a stage with joint probabilities has clusters
  if (anyDuplicated(rows)) refuse("two cases are of one unit")
  joint <- joint[rows, ]
  p <- own_probability(joint)
  all <- outer(p, p)
  strata <- columns_of(design, design$stages[[1L]]$strata)
  stratum <- if (length(strata) > 0L) groups(design$data[strata]) else rep(1L, nrow(joint))
  for (cases in split(seq_along(p), stratum)) {
    all[cases, cases] <- as.matrix(joint[cases, paste0("Joint_Prob_", joint$Unit_No_[cases], "_")])
  }
  design$data$svselect_probability_1 <- p
  survey::svydesign(ids = ~1, fpc = ~svselect_probability_1, data = design$data, pps = survey::ppsmat(all),
                    variance = "YG")
}

# The diagonal of each stratum's block.
own_probability <- function(joint) {
  all <- as.matrix(joint[grep("^Joint_Prob_[0-9]+_$", names(joint))])
  all[cbind(seq_len(nrow(joint)), as.integer(joint$Unit_No_))]
}

# Probabilities of the first stage's units, or NULL.
first_probability <- function(design) {
  written <- design$stages[[1L]]$write$probability
  if (!is.null(written)) return(as.double(design$data[[columns_of(design, written)]]))
  if (length(design$stages) == 1L) return(1 / as.double(design$data[[design$spec$weight]]))
  if (is.null(design$found$joint)) return(NULL)
  own_probability(design$found$joint)[rows_for(design, design$found$joint, joint_key(design))]
}

brewer_design <- function(design, first) {
  design <- with_units(design)
  count <- length(design$stages)
  design$data$svselect_probability_1 <- first
  for (i in seq_len(count)[-1L]) {
    design$data[[paste0("svselect_probability_", i)]] <- stratum_rows(design, i)$drawn_rate
  }
  survey::svydesign(ids = formula_of("unit", count), strata = formula_of("stratum", count),
                    fpc = formula_of("probability", count), pps = "brewer", data = design$data, nest = TRUE)
}

sizes_design <- function(design) {
  design <- with_units(design)
  count <- length(design$stages)
  for (i in seq_len(count)) {
    rows <- stratum_rows(design, i)
    design$data[[paste0("svselect_population_", i)]] <- round(rows$drawn / rows$drawn_rate)
  }
  survey::svydesign(ids = formula_of("unit", count), strata = formula_of("stratum", count),
                    fpc = formula_of("population", count), weights = as.formula(paste0("~`", design$spec$weight, "`")),
                    data = design$data, nest = TRUE)
}

# The units of the first stage alone: what later stages add to the variance is in their differences. Each hit of a unit
# counts on its own, where an index of the hits is written.
replaced_design <- function(design) {
  first <- design$stages[[1L]]
  design$stages <- design$stages[1L]
  design <- with_units(design)
  if (length(first$clusters) > 0L && !is.null(first$write$index)) {
    design$data$svselect_unit_1 <- groups(design$data[c("svselect_unit_1", columns_of(design, first$write$index))])
  }
  survey::svydesign(ids = ~svselect_unit_1, strata = ~svselect_stratum_1,
                    weights = as.formula(paste0("~`", design$spec$weight, "`")), data = design$data, nest = TRUE)
}
