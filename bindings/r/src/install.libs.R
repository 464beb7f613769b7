# Puts svselect's libraries and data into the package, so that it depends on no folder that may move.
places <- readLines("places")
copy <- function(files, ...) {
  folder <- file.path(R_PACKAGE_DIR, ...)
  dir.create(folder, recursive = TRUE, showWarnings = FALSE)
  stopifnot(length(files) > 0L, file.copy(files, folder, overwrite = TRUE))
}
copy(Sys.glob(paste0("*", SHLIB_EXT)), paste0("libs", R_ARCH))
copy(file.path(places[[1L]], c("libsvselect_c.so", "libsvselect.so", "libsvhost.so")), "lib")
duckdb <- file.path(places[[1L]], "libduckdb.so")
if (file.exists(duckdb)) copy(duckdb, "lib")  # else it is the system's
copy(list.files(places[[2L]], full.names = TRUE), "share", "svselect")
