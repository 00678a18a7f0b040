# Installs the library, builds the example hosts against the installed package and runs them:
# what a developer outside this repository does.
#   cmake -DBUILD=build folder -DSOURCE=repository -DWORK=scratch folder -DTOOLCHAIN=file
#         -DEMULATOR=program -P package_test.cmake
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output
    WORKING_DIRECTORY ${WORK})
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/package)
foreach(example first pool)
  run(${CMAKE_COMMAND} -G Ninja -S ${SOURCE}/examples/${example} -B ${WORK}/${example}
    -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_PREFIX_PATH=${WORK}/package -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH)
  run(${CMAKE_COMMAND} --build ${WORK}/${example})
  file(COPY ${WORK}/package/bin/ DESTINATION ${WORK}/${example})
  run(${EMULATOR} ${WORK}/${example}/${example}.exe)
endforeach()
run(${EMULATOR} reg delete "HKCU\\Software\\vtclass_mini example" /f)
file(READ ${WORK}/first.xml log HEX)
# The UTF-16 text of the entry that the example writes.
string(HEX "&lt;none&gt; &amp; more" expected)
string(REGEX REPLACE "(..)" "\\100" expected ${expected})
string(FIND "${log}" ${expected} at)
if(at EQUAL -1)
  message(FATAL_ERROR "first.xml does not hold the example's entry.")
endif()
