#!/usr/bin/env python3
"""Another compiler of resources reads from each file what the build's own reads:
resources_test.py LLVM_RC WINDRES HEADERS SOURCES WORK FILE..."""
import os
import struct
import subprocess
import sys

llvm_rc, windres, headers, sources, work, *files = sys.argv[1:]


def resources(path):
    """The resources of a compiled file by kind, name and language."""
    with open(path, "rb") as file:
        data = file.read()

    def name_at(at):
        if data[at : at + 2] == b"\xff\xff":
            return struct.unpack_from("<H", data, at + 2)[0], at + 4
        end = at
        while data[end : end + 2] != b"\0\0":
            end += 2
        return data[at:end].decode("utf-16le"), end + 2

    found = {}
    at = 0
    while at < len(data):
        size, header = struct.unpack_from("<II", data, at)
        kind, end = name_at(at + 8)
        name, end = name_at(end)
        (language,) = struct.unpack_from("<H", data, (end + 3 & ~3) + 6)
        found[kind, name, language] = data[at + header : at + header + size]
        at += header + size + 3 & ~3
    found.pop((0, 0, 0), None)  # the mark at a file's beginning
    return found


def compiled(command, out):
    subprocess.run(command, check=True)
    return resources(out)


# The other compiler takes what begins with "/c" or "/d" for an option, a file's path too.
os.chdir(sources)
differing = 0
for file in map(os.path.relpath, files):
    one, other = f"{work}/windres.res", f"{work}/llvm-rc.res"
    expected = compiled([windres, "-I", sources, "-J", "rc", "-O", "res", "-i", file, "-o", one], one)
    # The sources are in UTF-8; this compiler knows no #pragma code_page.
    actual = compiled(
        [llvm_rc, "/C", "65001", "/I", sources, "/I", headers, "/FO", other, file], other
    )
    if not expected or actual != expected:
        wrong = [key for key in expected | actual if expected.get(key) != actual.get(key)]
        print(f"{file}: {len(expected)} resources, these differ: {wrong}")
        differing += 1
sys.exit(differing != 0)
