# Installs the library, builds the examples with what is installed and runs them: what a developer
# outside this repository does, who has nothing but the package.
#   cmake -DBUILD=build folder -DWORK=scratch folder -DTOOLCHAIN=whether there is one -DEMULATOR=program
#         -DCRT=ucrt|msvcrt -DCOMPILER=program -P package_test.cmake
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output
    WORKING_DIRECTORY ${WORK})
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect text)
  string(FIND "${output}" "${text}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "\"${text}\" is missing in:\n${output}")
  endif()
endfunction()

set(package ${WORK}/package)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${package})

# build(example folder arguments...)
function(build example folder)
  run(${CMAKE_COMMAND} -G Ninja -S ${package}/examples/${example} -B ${WORK}/${folder} ${ARGN}
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH=${package})
  run(${CMAKE_COMMAND} --build ${WORK}/${folder})
endfunction()

set(compiler -DCMAKE_CXX_COMPILER=${COMPILER})
if(TOOLCHAIN)
  set(compiler -DCMAKE_TOOLCHAIN_FILE=${package}/cmake/mingw-clang.cmake)
endif()
foreach(example first settings_live debug_log identity cluster pool com_pool agent)
  build(${example} ${example} ${compiler})
endforeach()

run(${EMULATOR} ${WORK}/first/first.exe)
run(${EMULATOR} reg delete "HKCU\\Software\\vtclass_mini example" /f)
file(READ ${WORK}/first.xml log HEX)
# The UTF-16 text of the entry that the example writes.
string(HEX "&lt;none&gt; &amp; more" expected)
string(REGEX REPLACE "(..)" "\\100" expected ${expected})
string(FIND "${log}" ${expected} at)
if(at EQUAL -1)
  message(FATAL_ERROR "first.xml does not hold the example's entry.")
endif()
run(${EMULATOR} ${WORK}/identity/identity.exe 127.0.0.1)
expect("this machine")
run(${EMULATOR} ${WORK}/cluster/cluster.exe)
expect("SQL Server ")
run(${EMULATOR} ${WORK}/pool/pool.exe)
expect("sum 500500")
run(${EMULATOR} ${WORK}/com_pool/com_pool.exe)
expect("20 objects made, 0 failed")

# What writes below HKEY_LOCAL_MACHINE does it in a prefix of Wine only.
if(EMULATOR)
  run(${EMULATOR} ${WORK}/settings_live/settings_live.exe)
  expect("changed to 2")
  # A log that is off writes nothing; one that is switched on does.
  set(vtctl ${EMULATOR} ${package}/bin/vtctl.exe)
  run(${vtctl} settings set CreateDebugLog 0)
  run(${EMULATOR} ${WORK}/debug_log/debug_log.exe 0)
  expect("The log is off.")
  if(EXISTS ${WORK}/trace.log)
    message(FATAL_ERROR "A debug log that is off has made its file.")
  endif()
  run(${vtctl} settings set CreateDebugLog 1)
  run(${EMULATOR} ${WORK}/debug_log/debug_log.exe 1)
  run(${vtctl} settings set CreateDebugLog 0)
  run(${vtctl} debuglog info trace.log)
  expect("UTF-16")
endif()

# What else a package is for.
set(files README.md CHANGELOG.md bin/vtctl.exe include/vterrors/message_ids.h
  include/vterrors/message_codes.h docs/guide/README.md docs/troubleshooting.md)
if(TOOLCHAIN)
  list(APPEND files bin/vtclass_mini.pdb bin/vtctl.pdb)
  foreach(license libcrypto gcc-runtime GPL-3 mingw-w64 cli11 nlohmann-json)
    list(APPEND files licenses/${license}.txt)
  endforeach()
endif()
foreach(file ${files})
  if(NOT EXISTS ${package}/${file})
    message(FATAL_ERROR "The package lacks ${file}.")
  endif()
endforeach()

# The README's program is the example, and no link of a page leads nowhere.
file(READ ${package}/README.md output)
file(READ ${package}/examples/first/main.cpp program)
expect("${program}")
file(GLOB_RECURSE pages ${package}/*.md)
foreach(page ${pages})
  get_filename_component(folder ${page} DIRECTORY)
  file(READ ${page} text)
  # In lists of CMake brackets are none of the text.
  string(REPLACE "](" "link>" text "${text}")
  string(REGEX MATCHALL "link>[^):# ]+" links "${text}")
  foreach(link ${links})
    string(REPLACE "link>" "" link ${link})
    if(NOT EXISTS ${folder}/${link})
      message(FATAL_ERROR "${page} leads to ${link}, which is not there.")
    endif()
  endforeach()
endforeach()

if(NOT TOOLCHAIN)
  return()
endif()

# The other compiler of the family.
foreach(example com_pool first)
  build(${example} gcc_${example} -DCMAKE_TOOLCHAIN_FILE=${package}/cmake/mingw-gcc.cmake)
  run(${EMULATOR} ${WORK}/gcc_${example}/${example}.exe)
endforeach()
run(${EMULATOR} reg delete "HKCU\\Software\\vtclass_mini example" /f)

# What does not fit is refused in a sentence: refuse(folder sentence arguments...)
function(refuse folder sentence)
  execute_process(COMMAND ${CMAKE_COMMAND} -G Ninja -S ${package}/examples/first -B ${WORK}/${folder}
    -DCMAKE_PREFIX_PATH=${package} -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH ${ARGN}
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  # CMake breaks the lines.
  string(REGEX REPLACE "[ \n]+" " " output "${output}")
  if(status EQUAL 0)
    message(FATAL_ERROR "${folder} was not refused.")
  endif()
  expect("${sentence}")
endfunction()

set(other -D_UCRT)
if(CRT STREQUAL "ucrt")
  set(other -D__MSVCRT_VERSION__=0x700)
endif()
refuse(other_run_time "the C run time ${CRT} and C++20. This compiler uses another C run time."
  ${compiler} -DCMAKE_CXX_FLAGS=${other})
refuse(other_library "This compiler uses another C++ library." ${compiler}
  -DCMAKE_CXX_FLAGS=-nostdinc++)
# These have no headers here; nothing is compiled but what asks the compiler itself.
set(bare -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY)
refuse(other_system "makes programs for Linux with 64 bits." ${bare})
refuse(32_bits "makes programs for Windows with 32 bits." ${bare} -DCMAKE_SYSTEM_NAME=Windows
  -DCMAKE_CXX_COMPILER_TARGET=i686-w64-mingw32)
refuse(visual_cpp "This compiler follows Visual C++'s rules for C++." ${bare}
  -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_CXX_COMPILER_TARGET=x86_64-pc-windows-msvc
  -DCMAKE_RC_COMPILER=llvm-rc-19)
