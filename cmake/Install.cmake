# What `cmake --install` and the Debian package contain. The libraries go to a folder of their own, since no other
# program uses them. The program finds them by a relative path, so an installation can be moved as a whole.
set(SV_LIBRARY_FOLDER "${CMAKE_INSTALL_LIBDIR}/svselect")

file(RELATIVE_PATH libraries_from_program "/${CMAKE_INSTALL_BINDIR}" "/${SV_LIBRARY_FOLDER}")
set_target_properties(svselect_program PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries_from_program}")
set_target_properties(svhost svselect_library svselect_c PROPERTIES INSTALL_RPATH "$ORIGIN")
# These are the paths in the build folder as well, which links make look like an installation. Otherwise CMake
# would put in longer paths, to be replaced on installation, that end with a colon; and the loader takes what
# comes after that for the current folder. RPATH rather than RUNPATH: it goes before LD_LIBRARY_PATH.
set_target_properties(svselect_program svhost svselect_library svselect_c PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
target_link_options(sv_options INTERFACE "LINKER:--disable-new-dtags")
file(MAKE_DIRECTORY "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}" "${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}")
file(CREATE_LINK "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}" "${CMAKE_BINARY_DIR}/${SV_LIBRARY_FOLDER}" SYMBOLIC)
if(DuckDB_IS_PINNED)
  get_filename_component(duckdb_name "${DuckDB_LIBRARY}" NAME)
  file(CREATE_LINK "${DuckDB_LIBRARY}" "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${duckdb_name}" SYMBOLIC)
endif()
install(TARGETS svselect_program svhost svselect_library svselect_c
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${SV_LIBRARY_FOLDER}")
if(DuckDB_IS_PINNED)
  install(FILES "${DuckDB_LIBRARY}" DESTINATION "${SV_LIBRARY_FOLDER}")
endif()

install(FILES bindings/c/svselect.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

install(DIRECTORY data/ DESTINATION "${CMAKE_INSTALL_DATADIR}/svselect")
install(FILES docs/svselect.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
install(FILES cli/completion/svselect DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
install(FILES cli/completion/_svselect DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions")
install(FILES README.md CHANGELOG.md DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}" RENAME copyright)
install(DIRECTORY docs/ DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs" FILES_MATCHING PATTERN "*.md")
install(DIRECTORY examples DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  FILES_MATCHING PATTERN "expected" EXCLUDE PATTERN "*.csv" PATTERN "*.json" PATTERN "*.xml" PATTERN "*.md")

# The component of the Python package: our libraries with all that they link, the language's runtime aside, in one
# folder. The loader finds them by the RPATH of ours, which counts for the libraries that these load as well.
install(TARGETS svhost svselect_library svselect_c RUNTIME_DEPENDENCY_SET python_libraries
  LIBRARY DESTINATION svselect/lib COMPONENT python EXCLUDE_FROM_ALL)
install(RUNTIME_DEPENDENCY_SET python_libraries
  PRE_EXCLUDE_REGEXES "^lib(c|m|dl|rt|pthread|resolv|stdc\\+\\+|gcc_s)\\.so" "^ld-linux"
  LIBRARY DESTINATION svselect/lib COMPONENT python EXCLUDE_FROM_ALL)
install(DIRECTORY data/ DESTINATION svselect/share/svselect COMPONENT python EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The svselect developers <svselect@example.org>")
set(CPACK_PACKAGE_DESCRIPTION
  "svselect draws the sample of a survey from the cases of a data file by a sampling plan: up to three stages with
strata, clusters, one of eleven methods of selection and a sample size or rate. It writes the sample with its
inclusion probabilities and weights, joint inclusion probabilities, and tables of what was asked for and drawn.")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
# The packages that we depend on are worked out from the libraries that we link; ours and DuckDB's are in the package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
get_filename_component(duckdb_folder "${DuckDB_LIBRARY}" DIRECTORY)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}" "${duckdb_folder}")
include(CPack)
