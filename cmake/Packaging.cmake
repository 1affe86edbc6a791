# Installation and Debian packages of the library.
#
#   cmake --install <build>       the library with its soname links, the public
#                                 headers under include/CorteliaVERDA, the
#                                 pkg-config file, the CMake package, and the
#                                 programs with their man pages
#   cpack --config <build>/CPackConfig.cmake
#                                 four .deb files: libcorteliaverda2 (library),
#                                 libcorteliaverda-dev (development files),
#                                 corteliaverda-tools (programs) and
#                                 python3-corteliaverda (the Python package)
#
# Packages go to /usr: configure with -DCMAKE_INSTALL_PREFIX=/usr so that the
# library lands in Debian's multiarch directory (lib/x86_64-linux-gnu or
# lib/i386-linux-gnu), and the amd64 and i386 packages do not collide.

include(CMakePackageConfigHelpers)

set(VERDA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/CorteliaVERDA)
set(VERDA_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS CorteliaVERDA EXPORT CorteliaVERDATargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT library NAMELINK_COMPONENT development)

# The headers keep their folders, so that a client includes them as the
# library's own sources do: #include "api/CorteliaVERDA.h".
foreach(header IN LISTS VERDA_PUBLIC_HEADERS)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/CorteliaVERDA/${folder} COMPONENT development)
endforeach()

install(EXPORT CorteliaVERDATargets NAMESPACE CorteliaVERDA::
  DESTINATION ${VERDA_CMAKE_DIR} COMPONENT development)
configure_package_config_file(cmake/CorteliaVERDAConfig.cmake.in
  ${PROJECT_BINARY_DIR}/CorteliaVERDAConfig.cmake INSTALL_DESTINATION ${VERDA_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CorteliaVERDAConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CorteliaVERDAConfig.cmake
              ${PROJECT_BINARY_DIR}/CorteliaVERDAConfigVersion.cmake
  DESTINATION ${VERDA_CMAKE_DIR} COMPONENT development)

# The pkg-config file gets its prefix when it is installed, so that it names
# the prefix the files really went to (/usr in the Debian packages).
set(VERDA_PC_PREFIX "@INSTALL_PREFIX@")
configure_file(cmake/CorteliaVERDA.pc.in ${PROJECT_BINARY_DIR}/CorteliaVERDA.pc.in @ONLY)
install(CODE "
  file(READ \"${PROJECT_BINARY_DIR}/CorteliaVERDA.pc.in\" pc)
  string(REPLACE \"@INSTALL_PREFIX@\" \"\${CMAKE_INSTALL_PREFIX}\" pc \"\${pc}\")
  file(WRITE \"${PROJECT_BINARY_DIR}/pkgconfig/CorteliaVERDA.pc\" \"\${pc}\")"
  COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/CorteliaVERDA.pc
  DESTINATION ${VERDA_PKGCONFIG_DIR} COMPONENT development)

# The programs come from subdirectories added anywhere in the top-level
# CMakeLists.txt; this runs at its end, when they are all known.
function(verda_install_programs)
  find_program(HELP2MAN help2man)
  set(manpages)
  set(summary_verda "command-line tool for VERDA fiscal cash registers")
  set(summary_verda-sim "simulator of a VERDA fiscal cash register")
  set(summary_verda-server "VERDA fiscal cash registers as an HTTP/JSON service")
  # The tool's page holds every command's help, not only the overview.
  set(helpoption_verda --help-all)
  set(helpoption_verda-sim --help)
  set(helpoption_verda-server --help)
  # The server has a package of its own (server/CMakeLists.txt installs the rest).
  set(component_verda tools)
  set(component_verda-sim tools)
  set(component_verda-server server)
  foreach(program verda verda-sim verda-server)
    if(NOT TARGET ${program})
      continue()
    endif()
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
            COMPONENT ${component_${program}})
    if(NOT HELP2MAN)
      message(STATUS "help2man not found: ${program} is installed without a man page")
      continue()
    endif()
    # The man page is the program's --help, run under the emulator of a cross build.
    set(page ${PROJECT_BINARY_DIR}/man/${program}.1)
    add_custom_command(OUTPUT ${page}.gz
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
      COMMAND ${HELP2MAN} --no-info --no-discard-stderr --locale=C.UTF-8
              --version-string=${PROJECT_VERSION} --source=CorteliaVERDA
              "--name=${summary_${program}}" --help-option=${helpoption_${program}}
              --output=${page} "${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${program}>"
      COMMAND gzip -9nf ${page}
      DEPENDS ${program} VERBATIM)
    list(APPEND manpages ${page}.gz)
    install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
            COMPONENT ${component_${program}})
  endforeach()
  if(manpages)
    add_custom_target(verda_manpages ALL DEPENDS ${manpages})
  endif()
  verda_debian_packages()
endfunction()

# Debian packages. Their dependencies are written out rather than found by
# dpkg-shlibdeps, which cannot see the i386 C++ runtime of a multilib build
# machine; the lower bounds are the versions the library was built against.
function(verda_debian_version package out)
  execute_process(COMMAND dpkg-query -W -f=\${Version} ${package}
    OUTPUT_VARIABLE version ERROR_QUIET)
  string(REGEX MATCH "^[0-9]+(\\.[0-9]+)?" version "${version}")
  set(${out} ${version} PARENT_SCOPE)
endfunction()

function(verda_debian_packages)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(arch i386)
  else()
    set(arch amd64)
  endif()
  verda_debian_version(libc6 libc)
  verda_debian_version(libstdc++6 libstdcxx)
  set(runtime "libc6 (>= ${libc}), libstdc++6 (>= ${libstdcxx}), libgcc-s1")
  set(version ${PROJECT_VERSION})
  set(library libcorteliaverda${PROJECT_VERSION_MAJOR})

  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGE_NAME corteliaverda)
  set(CPACK_PACKAGE_VENDOR "CorteliaVERDA")
  set(CPACK_PACKAGE_CONTACT "CorteliaVERDA developers <verda@localhost>")
  set(CPACK_PACKAGE_VERSION ${version})
  set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${arch})
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)

  set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "${runtime}")
  # The first line of each description is the summary of its package.
  string(CONCAT CPACK_DEBIAN_LIBRARY_DESCRIPTION
      "driver library for VERDA fiscal cash registers\n"
      "Drives a fiscal cash register over a serial line or TCP from a point-of-sale\n"
      "application: shifts, receipts, reports, the fiscal drive and the article database.")

  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libcorteliaverda-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${version})")
  string(CONCAT CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
      "driver library for VERDA fiscal cash registers - development files\n"
      "Headers, pkg-config file and CMake package (find_package(CorteliaVERDA)).")

  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME corteliaverda-tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library} (= ${version}), ${runtime}")
  string(CONCAT CPACK_DEBIAN_TOOLS_DESCRIPTION
      "driver library for VERDA fiscal cash registers - programs\n"
      "The command-line tool and the register simulator, with their man pages.")

  # The server: its program, man page, systemd unit and sample configuration
  # (a conffile). Its libraries are named here like the C++ runtime above.
  verda_debian_version(libcpp-httplib0.11 httplib)
  verda_debian_version(libsqlite3-0 sqlite)
  set(CPACK_DEBIAN_SERVER_PACKAGE_NAME corteliaverda-server)
  set(CPACK_DEBIAN_SERVER_PACKAGE_SECTION net)
  set(CPACK_DEBIAN_SERVER_PACKAGE_DEPENDS
      "${library} (= ${version}), ${runtime}, libcpp-httplib0.11 (>= ${httplib}), libsqlite3-0 (>= ${sqlite})")
  set(CPACK_DEBIAN_SERVER_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/server/debian/conffiles)
  string(CONCAT CPACK_DEBIAN_SERVER_DESCRIPTION
      "driver library for VERDA fiscal cash registers - HTTP/JSON service\n"
      "verda-server: the shop's registers as an HTTP/JSON service whose journal\n"
      "never sells twice, with its systemd unit and a sample configuration.")

  # Pure Python over the library of the machine's own architecture.
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-corteliaverda)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3, ${library} (= ${version})")
  string(CONCAT CPACK_DEBIAN_PYTHON_DESCRIPTION
      "driver library for VERDA fiscal cash registers - Python package\n"
      "The package verda: every operation of the register as a method of\n"
      "verda.Device, over the library's C interface (ctypes).")

  include(CPack)
endfunction()

cmake_language(DEFER DIRECTORY ${PROJECT_SOURCE_DIR} CALL verda_install_programs)

