# Read by cpack for each generator. A relocatable archive carries no bundle
# registry: it would name the path the archive was staged in. Without one,
# kvrun finds the sample bundle beside itself, wherever the archive is
# unpacked.
if(CPACK_GENERATOR MATCHES "^(ZIP|TGZ|TXZ|TBZ2|TZST|7Z)$")
  set(CPACK_COMPONENTS_ALL Runtime Development Tools)
  # One archive of the components listed (a plain monolithic archive would
  # take every component).
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
endif()
