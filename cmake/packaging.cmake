# The installed tree, and for Windows a ZIP file of that tree. debian/ makes the Debian packages.

include(CMakePackageConfigHelpers)

# Whatever the umask of the user who installs.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

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
  PATTERN site EXCLUDE)
install(FILES tools/zdict/zdict.1 examples/filecache/filecache.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
if(NOT WIN32)
  install(PROGRAMS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/memlog DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES tools/memlog/memlog.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
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

if(WIN32)
  # The DLLs that ours need. Windows finds DLLs beside the program.
  install(FILES ${u_runtime_copies} DESTINATION ${CMAKE_INSTALL_BINDIR})
  set(CPACK_PACKAGE_NAME libu)
  set(CPACK_PACKAGE_VENDOR "the U developers")
  set(CPACK_PACKAGE_CONTACT "the U developers <u@u.example>")
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Foundation library of a desktop media application")
  set(CPACK_STRIP_FILES ON)
  set(CPACK_GENERATOR ZIP)
  include(CPack)
  return()
endif()

# For pkg-config. The prefix is relative to the file, so the tree can be moved.
file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
function(u_pkg_config name library summary requires)
  configure_file(cmake/library.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
u_pkg_config(uplatform Uplatform "Operations of the system for the foundation library U" "")
u_pkg_config(u U "Foundation library of a desktop media application" uplatform)
if(TARGET Ualert_sdl)
  u_pkg_config(ualert_sdl Ualert_sdl "Window for the alerts of the foundation library U" uplatform)
endif()
