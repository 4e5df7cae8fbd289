# Targets nimbl::nimbl (shared, where it was built) and nimbl::static. Both work from a project in C
# alone: the C++ runtime of the static library is linked by its name.
include("${CMAKE_CURRENT_LIST_DIR}/nimblTargets.cmake")
foreach(nimbl_configuration IN ITEMS RELEASE RELWITHDEBINFO DEBUG MINSIZEREL NOCONFIG)
  set_property(TARGET nimbl::static PROPERTY
               IMPORTED_LINK_INTERFACE_LANGUAGES_${nimbl_configuration} C)
endforeach()
