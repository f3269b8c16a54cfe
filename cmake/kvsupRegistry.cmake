# Run at install time (see kv_install_registry): writes the bundle registry of
# the installed tree, naming the bundle by its path under the install prefix.
#   KV_REG_TEMPLATE     the registry template (@KVFX_REGISTRY_PATH@ is the path)
#   KV_REG_BUNDLE       the bundle's file, relative to the prefix
#   KV_REG_DESTINATION  the registry's folder, relative to the prefix
#   KV_REG_WORK         a folder of the build tree for the generated file
#   KV_REG_WINDOWS      true for a Windows build

# A relative prefix (`cmake --install --prefix dir`) is taken from the
# folder the installation runs in, as the files are.
get_filename_component(prefix "${CMAKE_INSTALL_PREFIX}" ABSOLUTE)
set(path "${prefix}/${KV_REG_BUNDLE}")
if(KV_REG_WINDOWS)
  # The loader takes a bundle's base name after the last backslash. A
  # Windows build installed from a Linux host is run under Wine, which
  # reaches the host's files through drive Z:.
  if(path MATCHES "^/")
    set(path "Z:${path}")
  endif()
  string(REPLACE "/" "\\" path "${path}")
endif()
# The path is a bare word of the registry document: escape what would end
# or start something else there.
string(REPLACE "\\" "\\\\" path "${path}")
string(REPLACE ":" "\\:" path "${path}")
string(REPLACE "#" "\\#" path "${path}")
string(REPLACE "=" "\\=" path "${path}")
set(KVFX_REGISTRY_PATH "${path}")

configure_file("${KV_REG_TEMPLATE}" "${KV_REG_WORK}/installed/kvsup.reg" @ONLY)
file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/${KV_REG_DESTINATION}"
  TYPE FILE FILES "${KV_REG_WORK}/installed/kvsup.reg")
