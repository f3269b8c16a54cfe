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
include("${CMAKE_CURRENT_LIST_DIR}/kvsupRegistryWord.cmake")
kv_registry_word(KVFX_REGISTRY_PATH "${path}" "${KV_REG_WINDOWS}")

configure_file("${KV_REG_TEMPLATE}" "${KV_REG_WORK}/installed/kvsup.reg" @ONLY)
file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/${KV_REG_DESTINATION}"
  TYPE FILE FILES "${KV_REG_WORK}/installed/kvsup.reg")
