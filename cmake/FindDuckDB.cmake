# Finds DuckDB's shared library and C header: first a system-wide installation, else the pinned packages that
# tools/install-dependencies puts under third_party/duckdb.
#
# Defines the imported target DuckDB::DuckDB, and DuckDB_IS_PINNED, true unless it is the system's.
set(_sv_duckdb_packages "${CMAKE_SOURCE_DIR}/third_party/duckdb/node_modules")
find_path(DuckDB_INCLUDE_DIR duckdb.h)
find_library(DuckDB_LIBRARY duckdb)
if(NOT DuckDB_INCLUDE_DIR OR NOT DuckDB_LIBRARY)
  find_path(DuckDB_INCLUDE_DIR duckdb.h PATHS "${_sv_duckdb_packages}/duckdb/src/duckdb/src/include" NO_DEFAULT_PATH)
  find_library(DuckDB_LIBRARY duckdb PATHS "${_sv_duckdb_packages}/@duckdb/node-bindings-linux-x64" NO_DEFAULT_PATH)
endif()

string(FIND "${DuckDB_LIBRARY}" "${_sv_duckdb_packages}/" _sv_at)
if(_sv_at EQUAL 0)
  set(DuckDB_IS_PINNED TRUE)
else()
  set(DuckDB_IS_PINNED FALSE)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(DuckDB REQUIRED_VARS DuckDB_LIBRARY DuckDB_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "run tools/install-dependencies, or `make test`, which calls it")

if(DuckDB_FOUND AND NOT TARGET DuckDB::DuckDB)
  add_library(DuckDB::DuckDB SHARED IMPORTED)
  set_target_properties(DuckDB::DuckDB PROPERTIES
    IMPORTED_LOCATION "${DuckDB_LIBRARY}"
    IMPORTED_NO_SONAME TRUE
    INTERFACE_INCLUDE_DIRECTORIES "${DuckDB_INCLUDE_DIR}")
endif()
mark_as_advanced(DuckDB_INCLUDE_DIR DuckDB_LIBRARY)
