# Installation and packages. Included from the top CMakeLists.txt before the
# bundles and tools, whose own install rules use the directories set here.
#
# An installed kvsup has the staged tree's layout under the chosen prefix:
#   bin/                       kvrun; on Windows kvsup.dll and korv.dll
#   lib/                       libkvsup.so.5 (with its links), korv.so,
#                              libkvsup_static.a, the import library on Windows
#   lib/kvsup/bundles/         the sample bundle kvfx
#   lib/cmake/kvsup/           the CMake package: kvsup::kvsup, kvsup::kvsup_static
#   lib/pkgconfig/             kvsup.pc, kvsup_static.pc
#   include/kvsup.h
#   share/kvsup/data/korv/     function descriptors and the bundle registry
# ("lib" is CMAKE_INSTALL_LIBDIR.) The test build with allocation-failure
# injection is never installed.
#
# Install components, which are also the packages' parts:
#   Runtime      the shared library                          -> libkvsup5
#   Development  header, link name, static and import library,
#                CMake package, pkg-config files              -> libkvsup-dev
#   Tools        kvrun, korv, kvfx and the descriptors        -> kvsup-tools
#   Registry     the registry file naming kvfx by its installed path (in
#                kvsup-tools; left out of relocatable archives, where kvrun
#                finds kvfx beside itself)

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KV_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/kvsup)
set(KV_INSTALL_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(KV_INSTALL_BUNDLEDIR ${CMAKE_INSTALL_LIBDIR}/kvsup/bundles)
set(KV_INSTALL_DATADIR ${CMAKE_INSTALL_DATADIR}/kvsup/data/korv)

# The static form's users link the platform libraries the shared one hides.
# Nothing in a program refers to the load hook (it runs by itself when the
# program starts), so a linker taking members from the archive would leave
# it out and the engine would never start: its users ask for it by name.
kv_platform_libs(kvsup_static)
target_link_options(kvsup_static INTERFACE "LINKER:--undefined=korv_load_hook")

install(TARGETS kvsup kvsup_static EXPORT kvsupTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime
    NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${CMAKE_SOURCE_DIR}/include/kvsup.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)

# The CMake package: find_package(kvsup CONFIG) gives the imported targets.
# A newer minor release serves an older request; a new major does not.
install(EXPORT kvsupTargets NAMESPACE kvsup:: DESTINATION ${KV_INSTALL_CMAKEDIR}
  COMPONENT Development)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/kvsupConfig.cmake.in
  ${CMAKE_BINARY_DIR}/package/kvsupConfig.cmake
  INSTALL_DESTINATION ${KV_INSTALL_CMAKEDIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/kvsupConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/kvsupConfig.cmake
              ${CMAKE_BINARY_DIR}/package/kvsupConfigVersion.cmake
  DESTINATION ${KV_INSTALL_CMAKEDIR} COMPONENT Development)

# pkg-config files. Their prefix is found from the file's own place, so an
# installed tree may be moved (an unpacked archive, a package extracted into
# another root).
file(RELATIVE_PATH KV_PC_TO_PREFIX /${KV_INSTALL_PKGCONFIGDIR} /)
string(REGEX REPLACE "/$" "" KV_PC_TO_PREFIX "${KV_PC_TO_PREFIX}")
if(WIN32)
  set(KV_PC_PRIVATE "-lstdc++ -lws2_32")
else()
  set(KV_PC_PRIVATE "-lstdc++ -lm -lpthread -ldl")
endif()
set(KV_PC_NAME kvsup)
set(KV_PC_LIBS "-lkvsup")
set(KV_PC_CFLAGS "")
set(KV_PC_FORM "shared library")
configure_file(${CMAKE_SOURCE_DIR}/cmake/kvsup.pc.in ${CMAKE_BINARY_DIR}/package/kvsup.pc @ONLY)
set(KV_PC_NAME kvsup_static)
set(KV_PC_LIBS "-Wl,--undefined=korv_load_hook -lkvsup_static")
set(KV_PC_CFLAGS " -DKORV_STATIC")
set(KV_PC_FORM "static library")
configure_file(${CMAKE_SOURCE_DIR}/cmake/kvsup.pc.in ${CMAKE_BINARY_DIR}/package/kvsup_static.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/kvsup.pc ${CMAKE_BINARY_DIR}/package/kvsup_static.pc
  DESTINATION ${KV_INSTALL_PKGCONFIGDIR} COMPONENT Development)

# kv_install_registry(bundle_file): at install time, writes the registry file
# of the installed tree, naming the bundle (a file of the bundle folder) by
# its installed path. The prefix is known only then: `cmake --install
# --prefix` and the packagers choose it.
function(kv_install_registry bundle_file)
  install(CODE "
    set(KV_REG_TEMPLATE \"${CMAKE_SOURCE_DIR}/cmake/kvsupInstalled.reg.in\")
    set(KV_REG_BUNDLE \"${KV_INSTALL_BUNDLEDIR}/${bundle_file}\")
    set(KV_REG_DESTINATION \"${KV_INSTALL_DATADIR}\")
    set(KV_REG_WORK \"${CMAKE_BINARY_DIR}/package\")
    set(KV_REG_WINDOWS \"${WIN32}\")
    include(\"${CMAKE_SOURCE_DIR}/cmake/kvsupRegistry.cmake\")"
    COMPONENT Registry)
endfunction()

# Packages: a Debian package per part on Linux, one zip on Windows.
set(CPACK_PACKAGE_NAME kvsup)
set(CPACK_PACKAGE_VENDOR "kvsup")
set(CPACK_PACKAGE_CONTACT "kvsup developers <kvsup@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "support runtime of the Korvane image-processing engine")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_INSTALL_DIRECTORY kvsup)
set(CPACK_STRIP_FILES OFF)
set(CPACK_COMPONENTS_ALL Runtime Development Tools Registry)
set(CPACK_COMPONENT_TOOLS_GROUP tools)
set(CPACK_COMPONENT_REGISTRY_GROUP tools)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/cmake/kvsupCPackOptions.cmake)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME kvsup-${PROJECT_VERSION}-win64)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(KV_DEB_SAME_VERSION "libkvsup5 (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkvsup5)
  set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "The shared library libkvsup.so.5, loaded by the engine's front ends and processing bundles.")
  # A shlibs file (libkvsup 5), so that programs built against the package
  # depend on it.
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkvsup-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${KV_DEB_SAME_VERSION}")
  set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Development files: the header kvsup.h, the static library, the CMake package (kvsup::kvsup, kvsup::kvsup_static) and the pkg-config files.")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kvsup-tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${KV_DEB_SAME_VERSION}")
  set(CPACK_DEBIAN_TOOLS_DESCRIPTION "The front end kvrun, the default library korv and the sample bundle kvfx with their function descriptors and the bundle registry.")
  # kvrun and the bundles link libkvsup.so.5 from the package being built.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${KV_STAGE_LIB})
endif()
include(CPack)

# Every exported name is documented in the header users get.
if(KV_BUILD_TESTS)
  add_test(NAME test_api_comments COMMAND ${CMAKE_COMMAND}
    -DHEADER=${CMAKE_SOURCE_DIR}/include/kvsup.h
    -DLIST=${CMAKE_SOURCE_DIR}/src/exports.list
    -P ${CMAKE_SOURCE_DIR}/cmake/CheckHeaderComments.cmake)
endif()
