# Folders of sources become object libraries.
#
#   sv_folders(<name> DIRS <folder>... [LIBS <target>...])
#
# builds an object library from the sources in these folders, without their subfolders. A new file needs no change of
# the build. Headers are included by their path from the root of the repository; tools/check-layers checks which
# folder may include which.
function(sv_folders name)
  cmake_parse_arguments(ARG "" "" "DIRS;LIBS" ${ARGN})
  set(sources)
  foreach(dir IN LISTS ARG_DIRS)
    file(GLOB found CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/${dir}/*.cpp")
    file(GLOB headers CONFIGURE_DEPENDS RELATIVE "${CMAKE_SOURCE_DIR}" "${CMAKE_SOURCE_DIR}/${dir}/*.h")
    if(NOT found AND NOT headers)
      message(FATAL_ERROR "${dir} has no source and no header")
    endif()
    list(APPEND sources ${found})
    set_property(GLOBAL APPEND PROPERTY SV_HEADERS ${headers})
  endforeach()
  add_library(${name} OBJECT ${sources})
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
  target_link_libraries(${name} PUBLIC ${ARG_LIBS} PRIVATE sv_options)
  target_precompile_headers(${name} REUSE_FROM sv_common_headers)
endfunction()

# Target `headers`: compiles each header on its own, to show that it includes all that it uses.
function(sv_check_headers)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  get_property(headers GLOBAL PROPERTY SV_HEADERS)
  set(generated)
  foreach(header IN LISTS headers)
    set(source "${CMAKE_BINARY_DIR}/headers/${header}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${header}\"\n")
    list(APPEND generated "${source}")
  endforeach()
  add_library(headers OBJECT EXCLUDE_FROM_ALL ${generated})
  target_include_directories(headers PRIVATE "${CMAKE_SOURCE_DIR}")
  target_link_libraries(headers PRIVATE ${ARG_LIBS} sv_options)
endfunction()
