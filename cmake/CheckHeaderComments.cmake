cmake_minimum_required(VERSION 3.20)
# Every exported name must be documented in the public header: its
# declaration, or the group of declarations it belongs to, has a comment
# right above it. A group is a run of declarations with no blank line in
# between; a record's closing brace ends a group. Names are taken from the
# export list (one a line, "[subsystem]" group lines, "#" comments).
#
#   cmake -DHEADER=include/kvsup.h -DLIST=src/exports.list -P CheckHeaderComments.cmake

if(NOT HEADER OR NOT LIST)
  message(FATAL_ERROR "usage: cmake -DHEADER=<header> -DLIST=<export list> -P ${CMAKE_CURRENT_LIST_FILE}")
endif()

file(STRINGS "${LIST}" list_lines)
set(names "")
foreach(line IN LISTS list_lines)
  string(REGEX REPLACE "#.*$" "" line "${line}")
  string(STRIP "${line}" line)
  if(line STREQUAL "" OR line MATCHES "^\\[")
    continue()
  endif()
  list(APPEND names "${line}")
endforeach()

# The header as a list of lines. Characters that CMake's lists treat
# specially (";", "\", "[", "]") are replaced first; only the shape of each
# line matters here. Empty lines are kept: they end groups.
file(READ "${HEADER}" text)
string(ASCII 1 semi)
string(ASCII 2 bslash)
string(ASCII 3 lbr)
string(ASCII 4 rbr)
string(REPLACE "\\" "${bslash}" text "${text}")
string(REPLACE ";" "${semi}" text "${text}")
string(REPLACE "[" "${lbr}" text "${text}")
string(REPLACE "]" "${rbr}" text "${text}")
string(REPLACE "\r" "" text "${text}")
string(REPLACE "\n" ";" lines "${text}")

# The name declared on each line that holds an exported declaration.
set(declared "")
set(index 0)
foreach(line IN LISTS lines)
  if(line MATCHES "^[ \t]*KORV_API[ \t]" AND line MATCHES "([A-Za-z_][A-Za-z0-9_]*)[ \t]*\\(")
    set(name "${CMAKE_MATCH_1}")
    list(APPEND declared "${name}")
    set(line_of_${name} ${index})
  endif()
  math(EXPR index "${index} + 1")
endforeach()

set(undeclared "")
set(undocumented "")
foreach(name IN LISTS names)
  if(NOT DEFINED line_of_${name})
    list(APPEND undeclared "${name}")
    continue()
  endif()
  # Walk up through the group until a comment (documented), a blank line,
  # a record's closing brace or the top of the file (undocumented).
  set(at ${line_of_${name}})
  set(documented FALSE)
  while(at GREATER 0)
    math(EXPR at "${at} - 1")
    list(GET lines ${at} above)
    string(STRIP "${above}" above)
    if(above MATCHES "^(/\\*|\\*|//)")
      set(documented TRUE)
      break()
    endif()
    if(above STREQUAL "" OR above MATCHES "^}")
      break()
    endif()
  endwhile()
  if(NOT documented)
    math(EXPR line_no "${line_of_${name}} + 1")
    list(APPEND undocumented "${name} (line ${line_no})")
  endif()
endforeach()

list(LENGTH names n_names)
set(report "")
if(undeclared)
  string(REPLACE ";" "\n  " undeclared "${undeclared}")
  string(APPEND report "not declared in the header:\n  ${undeclared}\n")
endif()
if(undocumented)
  string(REPLACE ";" "\n  " undocumented "${undocumented}")
  string(APPEND report "no comment above the declaration or its group:\n  ${undocumented}\n")
endif()
if(report)
  message(FATAL_ERROR "${HEADER}: exported names without a declaration comment\n${report}")
endif()
message(STATUS "${n_names} exported names, each declared with a comment")
