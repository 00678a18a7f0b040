#!/usr/bin/env python3
"""A folder with what scripts/windows-kit packs is enough to run the tests on a bare Windows:
windows_kit_test.py SOURCES WORK WINE, with WORK in the folder of the build."""
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys

source, work = (pathlib.Path(word) for word in sys.argv[1:3])
wine = sys.argv[3]
# Libraries that every Windows Server has.
SYSTEM = set("advapi32 crypt32 iphlpapi kernel32 msvcrt ntdll ole32 rpcrt4 shell32 user32 version ws2_32".split())
complaints = []


def expect(holds, text):
    if not holds:
        complaints.append(text)


def texts_at(image, directory, size, name_at):
    """The names of the libraries in one of an image's tables of imports."""
    header = struct.unpack_from("<I", image, 0x3C)[0]
    count, optional = struct.unpack_from("<H", image, header + 6)[0], header + 24
    sections = optional + struct.unpack_from("<H", image, header + 20)[0]

    def place(address):
        for section in range(sections, sections + 40 * count, 40):
            length, start, _, data = struct.unpack_from("<IIII", image, section + 8)
            if start <= address < start + length:
                return data + address - start
        raise ValueError(f"address {address:#x} lies in no section")

    table = struct.unpack_from("<I", image, optional + 112 + 8 * directory)[0]
    names = []
    while table:
        name = struct.unpack_from("<I", image, place(table) + name_at)[0]
        if name == 0:
            break
        at = place(name)
        names.append(image[at:image.index(b"\0", at)].decode().lower())
        table += size
    return names


def is_there(library, kit):
    return library in kit or library.startswith("api-ms-win-crt-") or library.removesuffix(".dll") in SYSTEM


def check_imports():
    files = list((work / "bin").glob("*.exe")) + list((work / "bin").glob("*.dll"))
    kit = {file.name.lower() for file in files}
    for file in files:
        image = file.read_bytes()
        # Those of the start and those of the first call.
        for library in texts_at(image, 1, 20, 12) + texts_at(image, 13, 32, 4):
            expect(is_there(library, kit), f"{file.name} needs {library}, which is neither in the kit nor Windows' own")
    built = {file.name for file in (work.parent / "bin").glob("*_test.exe")}
    expect(built and built <= {file.name for file in files}, "test programs are missing")


# What the PowerShell script does with each program, by cmd.exe.
def check_runs(programs):
    (work / "results").mkdir()
    (work / "nothing.txt").write_text("")
    (work / "run.cmd").write_text(
        f"@for %%p in ({' '.join(programs)}) do "
        "@bin\\%%p.exe --gtest_color=no <nothing.txt >results\\%%p.txt 2>results\\%%p.errors\r\n")
    subprocess.run([wine, "cmd.exe", "/c", "run.cmd"], cwd=work, check=True, stdin=subprocess.DEVNULL,
                   env=os.environ | {"VTCLASS_TELL_HOOKS": "1"})
    lines = []
    for program in programs:
        output = work / "results" / f"{program}.txt"
        begun = re.findall(r"^\[ RUN      \] (\S+)", output.read_text(), re.MULTILINE)
        recorded = subprocess.run([source / "scripts" / "windows-kit", "--expect", output], check=True,
                                  capture_output=True, text=True).stdout.splitlines()
        expect(begun and [line.split()[1] for line in recorded] == begun, f"{program}: {begun} gave {recorded}")
        lines += recorded
    expect(any(line.endswith(" passed") for line in lines), "no test meets the system alone")
    expect(any(" passed hooks " in line for line in lines), "no test has hooks")


shutil.rmtree(work, ignore_errors=True)
subprocess.run([source / "scripts" / "windows-kit", "--stage", work], check=True,
               env=os.environ | {"PRESET": work.parent.name})
check_imports()
check_runs(["image_test", "platform_test"])
print("\n".join(complaints[:20]))
shutil.rmtree(work)
sys.exit(len(complaints) != 0)
