# Debian packages: cpack -G DEB. scripts/package makes them as Debian would, below /usr.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME nimbex)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "nimbex maintainers <maintainers@nimbex.example>")
# A package belongs below the prefix that its programs know.
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL nimbex ${lib_package} libnimbl-dev python3-nimbl)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(about "nimbex converts weather-satellite images into gridded files: one channel,
calibrated, projected onto a map, with the table of its physical values. It
reads Himawari Standard Data, HRIT, Meteosat native, GVAR, VISSR and NOAA
level 1b.")
# A package: its section, its depends, its short description, what sets it apart.
function(nimbex_package name section depends summary text)
  string(TOUPPER ${name} upper)
  set(prefix CPACK_DEBIAN_${upper}_PACKAGE)
  set(${prefix}_NAME ${name} PARENT_SCOPE)
  set(${prefix}_SECTION ${section} PARENT_SCOPE)
  set(${prefix}_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${about}\n\n${text}" PARENT_SCOPE)
  # Only a package has these: other installations have one folder of documents.
  set(folder ${CMAKE_INSTALL_DATADIR}/doc/${name})
  install(FILES packaging/copyright DESTINATION ${folder} COMPONENT ${name} EXCLUDE_FROM_ALL)
  install(FILES ${CMAKE_BINARY_DIR}/man/changelog.gz DESTINATION ${folder} COMPONENT ${name}
          EXCLUDE_FROM_ALL)
endfunction()
nimbex_compress(${CMAKE_SOURCE_DIR}/packaging/changelog ${CMAKE_BINARY_DIR}/man/changelog.gz)

set(same "${lib_package} (= ${PROJECT_VERSION})")
nimbex_package(nimbex science "" "converter of weather-satellite images to gridded files"
  "This package holds the programs.")
set(CPACK_DEBIAN_NIMBEX_PACKAGE_RECOMMENDS pvrg-jpeg)
nimbex_package(${lib_package} libs "" "weather-satellite images, map projections - shared library"
  "This package holds the library behind it, which has an interface in C.")
string(TOUPPER ${lib_package} lib_upper)
set(CPACK_DEBIAN_${lib_upper}_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/packaging/triggers)
set(CPACK_DEBIAN_${lib_upper}_PACKAGE_SUGGESTS nimbex) # for the map data and the JPEG adapter
nimbex_package(libnimbl-dev libdevel "${same}"
  "weather-satellite images, map projections - development files"
  "This package holds the headers, the static library and the manual of its
operations.")
nimbex_package(python3-nimbl python "python3, ${same}"
  "weather-satellite images, map projections - Python module"
  "This package holds a module over the library; it also reads the gridded
files.")
set(CPACK_DEBIAN_PYTHON3-NIMBL_PACKAGE_RECOMMENDS "python3-numpy, python3-xarray")
set(CPACK_DEBIAN_PYTHON3-NIMBL_PACKAGE_ARCHITECTURE all)
include(CPack)
