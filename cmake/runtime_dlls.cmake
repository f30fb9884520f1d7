# Copies the DLLs of Boost and of the compiler to the programs of the build. The copies have no
# debug information, since Wine reads the whole of a DLL at each start of a program.

foreach(target Boost::json Boost::thread)
  get_target_property(dll ${target} LOCATION)
  list(APPEND U_RUNTIME_DLLS ${dll})
endforeach()
file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
foreach(dll ${U_RUNTIME_DLLS})
  cmake_path(GET dll FILENAME name)
  set(copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
  execute_process(COMMAND ${CMAKE_STRIP} -o ${copy} ${dll} COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND u_runtime_copies ${copy})
endforeach()
