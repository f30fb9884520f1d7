# The installed tree and the package of that tree: for Debian, or a ZIP file for Windows.

include(CMakePackageConfigHelpers)

set(libraries U Uplatform)
if(TARGET Ualert_sdl)
  list(APPEND libraries Ualert_sdl)
endif()
set(programs zdict filecache)

# A folder of its own, since some of the folders' names are common words.
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/u)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/U)
set_target_properties(zdict PROPERTIES EXPORT_NAME zdict)

install(TARGETS ${libraries} EXPORT UTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${headers})
install(TARGETS U_cpp EXPORT UTargets INCLUDES DESTINATION ${headers})
install(TARGETS ${programs} EXPORT UTargets RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# An installed tree may be moved as a whole.
file(RELATIVE_PATH to_libraries /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(${programs} PROPERTIES INSTALL_RPATH $ORIGIN/${to_libraries})
set_target_properties(${libraries} PROPERTIES INSTALL_RPATH $ORIGIN)

install(DIRECTORY include/ adapters/cpp/ DESTINATION ${headers} FILES_MATCHING PATTERN *.h)
# The platform's headers for hosts. Headers that only its sources share are not installed.
install(FILES platform/control.h DESTINATION ${headers}/platform)
set(system posix)
if(WIN32)
  set(system native)
endif()
install(FILES
  platform/base/export.h
  platform/base/locks.h
  platform/base/locks_${system}.h
  platform/base/printable.h
  platform/base/quiet_new.h
  DESTINATION ${headers}/platform/base)
foreach(folder krobase kroview tolv win32 wril zelboxmp)
  install(DIRECTORY platform/${folder} DESTINATION ${headers} FILES_MATCHING
    PATTERN *.h
    PATTERN native EXCLUDE
    PATTERN portable EXCLUDE
    PATTERN posix EXCLUDE
    PATTERN private EXCLUDE)
endforeach()
install(FILES platform/alert/layout.h DESTINATION ${headers}/platform/alert)
if(TARGET Ualert_sdl)
  install(FILES platform/alert/sdl/presenter.h DESTINATION ${headers}/platform/alert/sdl)
endif()

install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES fuzz/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/fuzz)
install(FILES bench/RESULTS.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/bench)
install(FILES tests/COVERAGE.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/tests)
install(DIRECTORY bench/plots DESTINATION ${CMAKE_INSTALL_DOCDIR}/bench)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs
  PATTERN Doxyfile EXCLUDE
  PATTERN doxygen_comments EXCLUDE)
install(FILES tools/zdict/zdict.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
if(NOT WIN32)
  install(FILES ${CMAKE_BINARY_DIR}/share/bash-completion/completions/zdict
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()

# For find_package(U).
install(EXPORT UTargets NAMESPACE U:: DESTINATION ${package_folder})
set(dictionary_folder ${CMAKE_INSTALL_DATADIR}/u)
configure_package_config_file(cmake/UConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/UConfig.cmake
  INSTALL_DESTINATION ${package_folder}
  PATH_VARS dictionary_folder)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/UConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/UConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/UConfigVersion.cmake
  cmake/u_add_dictionary.cmake
  cmake/u_add_texts.cmake
  DESTINATION ${package_folder})

set(CPACK_PACKAGE_NAME libu)
set(CPACK_PACKAGE_VENDOR "the U developers")
set(CPACK_PACKAGE_CONTACT "the U developers <u@u.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Foundation library of a desktop media application")
set(CPACK_STRIP_FILES ON)
if(WIN32)
  # The DLLs that ours need. Windows finds DLLs beside the program.
  install(FILES
    $<TARGET_FILE:Boost::json>
    $<TARGET_FILE:Boost::thread>
    ${U_RUNTIME_DLLS}
    DESTINATION ${CMAKE_INSTALL_BINDIR})
  set(CPACK_GENERATOR ZIP)
  include(CPack)
  return()
endif()

# For pkg-config. The prefix is relative to the file, so the tree can be moved.
file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/u.pc.in ${CMAKE_CURRENT_BINARY_DIR}/u.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/u.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# For compiling a host.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libboost1.81-dev, libboost-thread1.81-dev")
include(CPack)
