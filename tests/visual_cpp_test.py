#!/usr/bin/env python3
"""Configures the preset for clang-cl here, without Microsoft's headers and libraries, and looks at what it
would do: visual_cpp_test.py SOURCES WORK HEADERS

Nothing is compiled but the messages, with HEADERS in place of Microsoft's. The packages that it looks for are empty ones in a folder of their own, as
CMAKE_PREFIX_PATH names it on Windows; the tools are those of LLVM that take Microsoft's options."""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

source, work, headers = (pathlib.Path(word) for word in sys.argv[1:])
build, prefix, tools = work / "build", work / "packages", work / "tools"
PRESET = "windows-clang"
TOOLS = {"clang-cl": "clang-19", "lld-link": "lld-link-19", "llvm-lib": "llvm-lib-19", "llvm-rc": "llvm-rc-19",
         "llvm-mt": "llvm-mt-19"}
PACKAGES = {
    "include/CLI/CLI.hpp": "",
    "include/nlohmann/json.hpp": "",
    "include/openssl/crypto.h": "",
    "include/openssl/ssl.h": "",
    "include/openssl/opensslv.h": '#define OPENSSL_VERSION_STR "3.0.0"\n',
    "lib/libcrypto.lib": "",
    "lib/libssl.lib": "",
    "share/gtest/GTestConfig.cmake": "add_library(GTest::gtest STATIC IMPORTED)\n"
    "set_target_properties(GTest::gtest PROPERTIES IMPORTED_LOCATION ${CMAKE_CURRENT_LIST_DIR}/gtest.lib)\n",
    "share/gtest/gtest.lib": "",
}
complaints = []


def expect(holds, text):
    if not holds:
        complaints.append(text)


def preset_variables():
    presets = {preset["name"]: preset for preset in json.loads((source / "CMakePresets.json").read_text())["configurePresets"]}
    preset = presets[PRESET]
    return presets[preset["inherits"]]["cacheVariables"] | preset["cacheVariables"]


def configure():
    shutil.rmtree(work, ignore_errors=True)
    tools.mkdir(parents=True)
    for name, tool in TOOLS.items():
        (tools / name).symlink_to(shutil.which(tool))
    for name, text in PACKAGES.items():
        (prefix / name).parent.mkdir(parents=True, exist_ok=True)
        (prefix / name).write_text(text)
    variables = preset_variables() | {
        "CMAKE_PREFIX_PATH": prefix,
        # In place of a Windows with Visual Studio's prompt.
        "CMAKE_SYSTEM_NAME": "Windows",
        "CMAKE_SYSTEM_PROCESSOR": "AMD64",
        "CMAKE_TRY_COMPILE_TARGET_TYPE": "STATIC_LIBRARY",
        "CMAKE_RC_COMPILER": tools / "llvm-rc",
        "CMAKE_MT": tools / "llvm-mt",
        "CMAKE_FIND_USE_CMAKE_SYSTEM_PATH": "OFF",
    }
    environment = {name: value for name, value in os.environ.items() if not name.startswith("CMAKE_")}
    environment["PATH"] = f"{tools}:{environment['PATH']}"
    run = subprocess.run(["cmake", "-G", "Ninja", "-S", source, "-B", build,
                          *(f"-D{name}={value}" for name, value in variables.items())],
                         env=environment, capture_output=True, text=True, stdin=subprocess.DEVNULL)
    if run.returncode != 0:
        sys.exit(f"{run.stdout}{run.stderr}")


def link_flags(rules, output):
    """The options by which one file is linked."""
    block = re.search(rf"^build {re.escape(output)}[ :].*?\n\n", rules, re.MULTILINE | re.DOTALL)
    return " ".join(re.findall(r"^  (?:LINK_FLAGS|LINK_LIBRARIES) = (.*)$", block[0], re.MULTILINE)) if block else ""


def check():
    rules = (build / "build.ninja").read_text()
    entries = json.loads((build / "compile_commands.json").read_text())
    ours = [entry for entry in entries if entry["file"].endswith(".cpp")]
    expect(len(ours) > 200, f"only {len(ours)} sources are compiled")
    for entry in ours:
        words = entry["command"].split()
        for option in ("/utf-8", "/EHsc", "/Zc:__cplusplus", "-std:c++20", "-MD", "-Zi"):
            expect(option in words or option.replace("-", "/", 1) in words, f"{entry['file']}: {option} is missing")
        expect("/usr/" not in entry["command"].replace(str(tools), ""), f"{entry['file']}: a folder of this machine")
    dll = link_flags(rules, "bin/vtclass_mini.dll")
    for companion in ("vtsocket", "vtcluster", "vtstdutl"):
        expect(f"/DELAYLOAD:{companion}.dll" in dll, f"{companion} would be loaded at once: {dll}")
    for output in ("bin/vtclass_mini.dll", "bin/vtsocket.dll", "bin/vtctl.exe", "bin/strings_test.exe"):
        expect("/DEBUG" in link_flags(rules, output).split(), f"{output} would have no symbols")
    expect("/NOENTRY" in link_flags(rules, "bin/vterrors.dll"), "the message library would have code")
    links = [path for path in build.rglob("*") if path.is_symlink()]
    expect(not links, f"symbolic links: {links[:3]}")
    # All that is built of something is there, or is built itself; -n builds nothing.
    messages = "messages/CMakeFiles/vterrors_DE.dir/vterrors_de.rc.res"
    for what in (["-n", "all"], [messages]):
        run = subprocess.run(["ninja", "-C", build, *what], env=os.environ | {"INCLUDE": str(headers)},
                             capture_output=True, text=True, stdin=subprocess.DEVNULL)
        expect(run.returncode == 0, run.stdout[-1000:] + run.stderr[-1000:])
    compiled = (build / messages).read_bytes() if (build / messages).exists() else b""
    expect("\u00fcbersprungen".encode("utf-16le") in compiled, "the compiler of resources takes messages for no UTF-8")


configure()
check()
print("\n".join(complaints[:20]))
sys.exit(len(complaints) != 0)
