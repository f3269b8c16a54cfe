# kv_registry_word(<out> <path> <windows>): a bundle's path as a bare word of
# the bundle registry document. A Windows path is written with backslashes
# (the loader takes a bundle's base name after the last one), and a Windows
# build run from a Linux host under Wine reaches the host's files through
# drive Z:. Then what would end or start something else in a bare word is
# escaped.
function(kv_registry_word out path windows)
  if(windows)
    if(path MATCHES "^/")
      set(path "Z:${path}")
    endif()
    string(REPLACE "/" "\\" path "${path}")
  endif()
  string(REPLACE "\\" "\\\\" path "${path}")
  string(REPLACE ":" "\\:" path "${path}")
  string(REPLACE "#" "\\#" path "${path}")
  string(REPLACE "=" "\\=" path "${path}")
  set(${out} "${path}" PARENT_SCOPE)
endfunction()
