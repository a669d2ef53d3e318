# Fails when a file of the daemon includes upward, against the rule in
# README.md's layout section: frame/ and platform/ include nothing above
# them; handlers/<family>/ and lens/ include frame/, platform/ and their own
# family; bindings/ includes those and the family headers; frame/main.cpp,
# the start-up, may reach everything.
#
# Run as: cmake -DSOURCE_DIR=<tree> -P check_includes.cmake
#
# Only the daemon's folders are ruled. redisbus/, sim/, tools/ and web/
# stand beside or above it (their client and connection headers in
# redisbus/ include each other) and are not checked here.

if(NOT SOURCE_DIR)
  message(FATAL_ERROR "SOURCE_DIR not given")
endif()

# The folders `file` may include from.
function(allowed_for file result)
  if(file STREQUAL "frame/main.cpp")
    set(allowed frame platform bindings handlers lens)
  elseif(file MATCHES "^(frame|platform)/")
    set(allowed frame platform)
  elseif(file MATCHES "^(handlers/[^/]+)/")
    set(allowed frame platform ${CMAKE_MATCH_1})
  elseif(file MATCHES "^lens/")
    set(allowed frame platform lens)
  elseif(file MATCHES "^bindings/")
    set(allowed frame platform handlers lens bindings)
  else()
    set(allowed "")
  endif()
  set(${result} "${allowed}" PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE files RELATIVE "${SOURCE_DIR}"
     "${SOURCE_DIR}/frame/*.h" "${SOURCE_DIR}/frame/*.cpp"
     "${SOURCE_DIR}/platform/*.h" "${SOURCE_DIR}/platform/*.cpp"
     "${SOURCE_DIR}/handlers/*.h" "${SOURCE_DIR}/handlers/*.cpp"
     "${SOURCE_DIR}/lens/*.h" "${SOURCE_DIR}/lens/*.cpp"
     "${SOURCE_DIR}/bindings/*.h" "${SOURCE_DIR}/bindings/*.cpp")
list(LENGTH files count)
if(count EQUAL 0)
  message(FATAL_ERROR "no daemon sources below ${SOURCE_DIR}")
endif()

set(upward 0)
foreach(file IN LISTS files)
  allowed_for("${file}" allowed)
  file(STRINGS "${SOURCE_DIR}/${file}" includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
  foreach(line IN LISTS includes)
    string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]*)\".*$" "\\1" included "${line}")
    if(NOT included MATCHES "/")
      continue()  # beside the including file
    endif()
    set(ok FALSE)
    foreach(folder IN LISTS allowed)
      string(LENGTH "${folder}/" length)
      string(SUBSTRING "${included}" 0 ${length} head)
      if(head STREQUAL "${folder}/")
        set(ok TRUE)
      endif()
    endforeach()
    if(NOT ok)
      message("${file}: includes upward: \"${included}\"")
      math(EXPR upward "${upward} + 1")
    endif()
  endforeach()
endforeach()

if(upward GREATER 0)
  message(FATAL_ERROR "${upward} upward include(s) in ${count} files")
endif()
message("${count} files, every include runs downward")
