# What goes where, and the Debian packages of it. A component is a package.
set(lib_package libnimbl${nimbl_interface})
set(lib COMPONENT ${lib_package})
set(dev COMPONENT libnimbl-dev)
set(programs COMPONENT nimbex)

# Programs; the companions are there when their libraries were found.
foreach(program IN ITEMS nimbex nimbex-view nimbex-map)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ${programs})
  endif()
endforeach()
install(PROGRAMS tools/losslessJpeg DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/nimbex ${programs})
# The coast for landmarks and pictures is made in the build by nimbex-map. A folder below the prefix
# goes with the prefix that an installation is given; the programs look below the configured one.
set(data_destination ${nimbex_data_dir})
if(data_destination STREQUAL "${CMAKE_INSTALL_FULL_DATADIR}/nimbex")
  set(data_destination ${CMAKE_INSTALL_DATADIR}/nimbex)
endif()
install(FILES ${CMAKE_BINARY_DIR}/share/nbMap30.dat DESTINATION ${data_destination} ${programs}
        OPTIONAL)
foreach(completion IN ITEMS completion/nimbex view/nimbex-view)
  get_filename_component(program ${completion} NAME)
  if(TARGET ${program})
    install(FILES tools/${completion}.bash RENAME ${program}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${programs})
  endif()
endforeach()

# The library. Its public headers are those that the one over all of them names.
set(exported nimbl)
set_target_properties(nimbl PROPERTIES EXPORT_NAME static)
if(TARGET nimbl_shared)
  list(APPEND exported nimbl_shared)
  set_target_properties(nimbl_shared PROPERTIES EXPORT_NAME nimbl)
endif()
foreach(target IN LISTS exported)
  target_include_directories(${target} INTERFACE
                             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/nimbl>)
endforeach()
target_link_libraries(nimbl INTERFACE $<INSTALL_INTERFACE:stdc++> $<INSTALL_INTERFACE:m>)
install(TARGETS ${exported} EXPORT nimblTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} ${dev}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ${lib} NAMELINK_COMPONENT libnimbl-dev)

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS sat/nimbl.h)
file(STRINGS sat/nimbl.h nimbl_headers REGEX "^#include \"")
list(TRANSFORM nimbl_headers REPLACE "#include \"(.*)\"" "\\1")
foreach(header IN LISTS nimbl_headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nimbl/${folder} ${dev})
endforeach()
install(FILES sat/nimbl.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nimbl ${dev})

include(CMakePackageConfigHelpers)
set(nimbl_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/nimbl)
write_basic_package_version_file(nimblConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES cmake/nimblConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/nimblConfigVersion.cmake
        DESTINATION ${nimbl_cmake_dir} ${dev})
install(EXPORT nimblTargets NAMESPACE nimbl:: DESTINATION ${nimbl_cmake_dir} ${dev})
file(RELATIVE_PATH nimbl_up ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/nimbl.pc.in nimbl.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/nimbl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig ${dev})

# The module finds the library of its own prefix.
install(FILES python/nimbl.py DESTINATION ${NIMBEX_PYTHON_DIR} COMPONENT python3-nimbl)

# Documents, compressed as Debian wants them. The page of the library is made of its headers.
find_program(NIMBEX_GZIP gzip REQUIRED)
function(nimbex_compress source out)
  add_custom_command(OUTPUT ${out} COMMAND ${NIMBEX_GZIP} -9nc ${source} > ${out}
                     DEPENDS ${source} VERBATIM)
  set_property(GLOBAL APPEND PROPERTY nimbex_documents ${out})
endfunction()
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/man)
list(TRANSFORM nimbl_headers PREPEND ${CMAKE_SOURCE_DIR}/ OUTPUT_VARIABLE nimbl_header_paths)
set(nimbl3 ${CMAKE_BINARY_DIR}/man/nimbl.3)
set(nimbl3_sources ${CMAKE_SOURCE_DIR}/man/headers.awk ${CMAKE_SOURCE_DIR}/man/nimbl.3.head
    ${nimbl_header_paths} ${CMAKE_SOURCE_DIR}/man/nimbl.3.foot)
add_custom_command(OUTPUT ${nimbl3}
                   COMMAND awk -f ${nimbl3_sources} > ${nimbl3}
                   DEPENDS ${nimbl3_sources} VERBATIM)
nimbex_compress(${nimbl3} ${nimbl3}.gz)
install(FILES ${nimbl3}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 ${dev})
set(pages nimbex)
foreach(program IN ITEMS nimbex-view nimbex-map)
  if(TARGET ${program})
    list(APPEND pages ${program})
  endif()
endforeach()
foreach(page IN LISTS pages)
  nimbex_compress(${CMAKE_SOURCE_DIR}/man/${page}.1 ${CMAKE_BINARY_DIR}/man/${page}.1.gz)
  install(FILES ${CMAKE_BINARY_DIR}/man/${page}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
          ${programs})
endforeach()
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} ${programs})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} ${programs} PATTERN draw EXCLUDE)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT licence) # Debian has its own

include(cmake/packages.cmake)
get_property(documents GLOBAL PROPERTY nimbex_documents)
add_custom_target(nimbex_documents ALL DEPENDS ${documents})
