# The folders are the architecture, and the compiler keeps it.
#
#   sv_folder(<name> DIR <folder> [USES <name>...] [SEES <header>...] [LIBS <target>...])
#
# makes an object library of the folder's sources. It compiles against an include tree of its own, a tree of
# links in the build folder that holds the headers of the folder itself, of the folders in USES with all that
# they use, and the single headers in SEES. A header that isn't in that tree can't be included, so an include
# against the direction of the dependencies fails the build. Headers are included by their path from the root of
# the repository.

set(SV_VIEWS "${CMAKE_BINARY_DIR}/views")

function(sv_link_header view header)
  get_filename_component(folder "${view}/${header}" DIRECTORY)
  file(MAKE_DIRECTORY "${folder}")
  file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${header}" "${view}/${header}" SYMBOLIC)
endfunction()

function(sv_folder name)
  cmake_parse_arguments(ARG "" "DIR" "USES;SEES;LIBS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS RELATIVE "${CMAKE_SOURCE_DIR}" "${CMAKE_SOURCE_DIR}/${ARG_DIR}/*.cpp")
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE "${CMAKE_SOURCE_DIR}" "${CMAKE_SOURCE_DIR}/${ARG_DIR}/*.h")

  # What the folder sees, and a user of it: its headers, and those that they may include.
  set(visible ${headers} ${ARG_SEES})
  foreach(used IN LISTS ARG_USES)
    get_property(more GLOBAL PROPERTY SV_VISIBLE_${used})
    list(APPEND visible ${more})
  endforeach()
  list(REMOVE_DUPLICATES visible)
  set_property(GLOBAL PROPERTY SV_VISIBLE_${name} "${visible}")

  set(view "${SV_VIEWS}/${name}")
  file(REMOVE_RECURSE "${view}")
  file(MAKE_DIRECTORY "${view}")
  foreach(header IN LISTS visible)
    sv_link_header("${view}" "${header}")
  endforeach()

  set_property(GLOBAL APPEND PROPERTY SV_FOLDERS ${name})
  set_property(GLOBAL PROPERTY SV_HEADERS_${name} "${headers}")
  if(sources)
    list(TRANSFORM sources PREPEND "${CMAKE_SOURCE_DIR}/")
    add_library(${name} OBJECT ${sources})
    target_include_directories(${name} PRIVATE "${view}")
    target_link_libraries(${name} PUBLIC ${ARG_LIBS} PRIVATE sv_options)
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${ARG_LIBS})
  endif()
endfunction()

# An include tree for a test, a benchmark or the program: the headers of the folders named, with all that they use.
function(sv_view target)
  set(view "${SV_VIEWS}/${target}")
  file(REMOVE_RECURSE "${view}")
  file(MAKE_DIRECTORY "${view}")
  foreach(used IN LISTS ARGN)
    get_property(headers GLOBAL PROPERTY SV_VISIBLE_${used})
    foreach(header IN LISTS headers)
      sv_link_header("${view}" "${header}")
    endforeach()
  endforeach()
  target_include_directories(${target} PRIVATE "${view}")
endfunction()

# The objects of the folders that have any, for the library that is made of them.
function(sv_objects out)
  set(objects)
  foreach(name IN LISTS ARGN)
    get_target_property(type ${name} TYPE)
    if(type STREQUAL "OBJECT_LIBRARY")
      list(APPEND objects $<TARGET_OBJECTS:${name}>)
    endif()
  endforeach()
  set(${out} "${objects}" PARENT_SCOPE)
endfunction()

# Target `headers`: each header compiled on its own, against the include tree of its folder.
function(sv_check_headers)
  get_property(folders GLOBAL PROPERTY SV_FOLDERS)
  add_custom_target(headers)
  foreach(name IN LISTS folders)
    get_property(headers GLOBAL PROPERTY SV_HEADERS_${name})
    set(generated)
    foreach(header IN LISTS headers)
      set(source "${CMAKE_BINARY_DIR}/headers/${header}.cpp")
      file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${header}\"\n")
      list(APPEND generated "${source}")
    endforeach()
    if(generated)
      add_library(headers_${name} OBJECT EXCLUDE_FROM_ALL ${generated})
      target_include_directories(headers_${name} PRIVATE "${SV_VIEWS}/${name}")
      target_link_libraries(headers_${name} PRIVATE ${name} sv_options)
      add_dependencies(headers headers_${name})
    endif()
  endforeach()
endfunction()
