# The Debian package (cpack -G DEB, run by scripts/package with VORNLEADS_PACKAGE=ON).
#
# Only this file installs to absolute system paths (/etc, /lib/systemd, /var/lib), and only it
# installs the package's documentation and manual pages, so that `cmake --install build
# --prefix P` stays as it was.
# The package holds the programs in /usr/bin, libvornleads in /usr/lib/<triplet>, the library
# edition in /usr/lib/vornleads, the headers and the CMake package, the systemd unit (not
# enabled), the configuration file, the manual pages, the bash completion and the operator's
# guide with its examples. postinst creates the system user and group vornleads and the host
# directory /var/lib/vornleads with a link to the library edition.
set(VORNLEADS_PACKAGE_DIR ${CMAKE_CURRENT_SOURCE_DIR}/contrib/debian)

install(FILES contrib/vornleads.service DESTINATION /lib/systemd/system)
install(FILES contrib/vornleads.conf DESTINATION /etc/vornleads
  PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ)

# The host directory and the library edition's link in it are made by postinst, not shipped:
# the directory fills with the service's own files (logs, the database, the engine's lock
# directory), and a directory the package owned would make dpkg warn at every removal that it
# is not empty.
file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/package)

# Package documentation: the copyright file and the changelog, compressed as Debian wants.
string(TIMESTAMP VORNLEADS_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${VORNLEADS_PACKAGE_DIR}/changelog.in ${CMAKE_CURRENT_BINARY_DIR}/package/changelog @ONLY)
function(vornleads_gzip source target)
  execute_process(COMMAND gzip -9nc ${source} OUTPUT_FILE ${target} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "gzip failed on ${source}")
  endif()
endfunction()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${CMAKE_CURRENT_SOURCE_DIR}/contrib/man/vornleads.1
  ${CMAKE_CURRENT_SOURCE_DIR}/contrib/man/vornleads-sandbox.1 ${CMAKE_CURRENT_SOURCE_DIR}/README.md)
vornleads_gzip(${CMAKE_CURRENT_BINARY_DIR}/package/changelog
  ${CMAKE_CURRENT_BINARY_DIR}/package/changelog.gz)
install(FILES ${VORNLEADS_PACKAGE_DIR}/copyright ${CMAKE_CURRENT_BINARY_DIR}/package/changelog.gz
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/vornleads)
# The operator's guide (the README, compressed as Debian wants for texts of its size) and the
# examples: Prometheus scrape and alert rules, the supported isql-fb invocation.
vornleads_gzip(${CMAKE_CURRENT_SOURCE_DIR}/README.md ${CMAKE_CURRENT_BINARY_DIR}/package/README.md.gz)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/package/README.md.gz
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/vornleads)
install(FILES contrib/examples/prometheus-scrape.yml contrib/examples/prometheus-alerts.yml
              contrib/examples/isql-fb.sh
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/vornleads/examples)
foreach(page vornleads.1 vornleads-sandbox.1)
  vornleads_gzip(${CMAKE_CURRENT_SOURCE_DIR}/contrib/man/${page}
    ${CMAKE_CURRENT_BINARY_DIR}/package/${page}.gz)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/package/${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vornleads)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_CONTACT "VornLeadsVW maintainers <maintainers@users.noreply.c-seed-6859b95f.example>")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "VW dealer leads integration for the dealership's DMS")
# The synopsis is the summary above; this is the extended description.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "VornLeadsVW fetches new sales leads from VW's dealer-leads SOAP service, finds
or registers the customer, opens a CRM contact in the DMS database, confirms
receipt, sends every later lead-status change back and resends what was not
delivered.
.
This package holds the vornleads command and its systemd unit (installed, not
enabled), the vornleads-sandbox stand-in of the leads service, the library
edition VornLeadsVW.dll, the shared library libvornleads with its headers and
CMake package, and the configuration file /etc/vornleads/vornleads.conf.")
# The shared libraries' packages come from dpkg-shlibdeps; the embedded Firebird engine is
# loaded at run time by the client library, so it is named here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_DEPENDS "adduser, firebird3.0-server-core")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "firebird3.0-utils")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${VORNLEADS_PACKAGE_DIR}/postinst ${VORNLEADS_PACKAGE_DIR}/prerm ${VORNLEADS_PACKAGE_DIR}/postrm
  ${VORNLEADS_PACKAGE_DIR}/triggers ${VORNLEADS_PACKAGE_DIR}/conffiles)
include(CPack)
