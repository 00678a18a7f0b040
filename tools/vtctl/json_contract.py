#!/usr/bin/python3
"""Runs every command of vtctl with --json, where it answers and where it fails, and checks what it prints.

    tools/vtctl/json_contract.py SCHEMAS COMMAND...

COMMAND... is how vtctl is started (with the emulator in front), SCHEMAS the folder docs/schemas. Which
commands there are vtctl says itself: one that prints JSON and has no schema, or that is not called here, is
a fault. So are members that no schema names. The registry is a private one that goes with the run.
"""
import copy
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import threading
import uuid

import jsonschema

SCHEMAS = pathlib.Path(sys.argv[1])
COMMAND = sys.argv[2:]
ROOT = pathlib.Path(__file__).resolve().parents[2]
REGISTRY = "Software\\vtclass-json-" + uuid.uuid4().hex
PRODUCT = "HKLM\\Software\\Norvane\\Vantorel For Windows\\Vantorel"
# What could disguise a text.
UNSEEN = re.compile("[\x7f-\x9f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069]")
FAILURE = "failure"

faults = []
answered = set()
failed = set()


def closed(schema):
    """The schema with no other members than it names; those may come in a later version."""
    if isinstance(schema, list):
        return [closed(item) for item in schema]
    if not isinstance(schema, dict):
        return schema
    schema = {name: closed(part) for name, part in schema.items()}
    if "properties" in schema:
        schema.setdefault("additionalProperties", False)
    return schema


def read_schemas():
    schemas = {}
    for path in SCHEMAS.glob("*.schema.json"):
        schema = json.loads(path.read_text(encoding="utf-8"))
        jsonschema.Draft202012Validator.check_schema(schema)
        schemas[path.name.removesuffix(".schema.json")] = closed(schema)
    return schemas


def run(words, given=None, environment=None):
    # Through files: a pipe would stay open as long as what the emulator starts in the background.
    with tempfile.TemporaryFile() as source, tempfile.TemporaryFile() as output, \
            tempfile.TemporaryFile() as errors:
        source.write(given or b"")
        source.seek(0)
        code = subprocess.run(COMMAND + words, stdin=source, stdout=output, stderr=errors,
                              env=environment or ENVIRONMENT, timeout=120, check=False).returncode
        output.seek(0)
        errors.seek(0)
        return code, output.read().decode("utf-8"), errors.read().decode("utf-8", "replace")


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


def validate(name, words, value):
    for error in jsonschema.Draft202012Validator(schemas[name]).iter_errors(value):
        place = "/".join(str(part) for part in error.absolute_path)
        faults.append(f"{' '.join(words)}: at \"{place}\": {error.message[:300]}")


def check(command, words, codes, given=None, lines=None, meanwhile=None, least=1):
    """Calls `command` and validates its answer, or its failure where no code is below 64."""
    call = command.split() + words + ["--json"]
    if meanwhile:
        over = threading.Event()
        other = threading.Thread(target=repeat, args=(meanwhile, over))
        other.start()
    code, output, errors = run(call, given)
    if meanwhile:
        over.set()
        other.join()
    if code not in codes:
        faults.append(f"{' '.join(call)}: exit code {code}, not {codes}: {errors[:300]}")
        return
    if UNSEEN.search(output):
        faults.append(f"{' '.join(call)}: something that cannot be seen is not escaped")
    name = command.replace(" ", "-")
    lines = schemas[name]["description"].startswith("JSON Lines") if lines is None else lines
    try:
        values = [json.loads(line) for line in output.splitlines()] if lines else [json.loads(output)]
    except json.JSONDecodeError as error:
        faults.append(f"{' '.join(call)}: no JSON: {error}: {output[:300]!r}")
        return
    if len(values) < least:
        faults.append(f"{' '.join(call)}: {len(values)} lines, fewer than {least}")
    for value in values:
        validate(name, call, value)
    answered.add(command)


def check_failure(command, words, code, status=None, given=None):
    call = command.split() + words + ["--json"]
    found, output, errors = run(call, given)
    if found != code:
        faults.append(f"{' '.join(call)}: exit code {found}, not {code}: {errors[:300]}")
        return
    try:
        value = json.loads(output.splitlines()[-1])
    except (json.JSONDecodeError, IndexError) as error:
        faults.append(f"{' '.join(call)}: failed without JSON: {error}: {output[:300]!r}")
        return
    validate(FAILURE, call, value)
    if (value.get("command"), value.get("exitCode")) != (command, code):
        faults.append(f"{' '.join(call)}: tells of another failure: {value}")
    if status is not None and value.get("status") != status:
        faults.append(f"{' '.join(call)}: status {value.get('status')}, not {status}")
    if value.get("error") and value["error"] not in errors:
        faults.append(f"{' '.join(call)}: standard error says something else: {errors[:300]}")
    failed.add(command)


def repeat(calls, over):
    """Runs the calls one after the other, again and again, until the watching command has ended."""
    while not over.is_set():
        for words in calls:
            run(words)
            if over.wait(0.05):
                return


def call_all(work):
    (work / "empty").mkdir()
    (work / "tree").mkdir()
    (work / "tree" / "file.txt").write_text("data")
    name = "nam\u202ee\u0085"
    key = PRODUCT + "\\Test"
    log = windows(work / "trace.log")
    hive = work / "hive.dat"
    subprocess.run([ROOT / "hive" / "make_hives.py", "write", hive], check=True, stdout=subprocess.DEVNULL)
    for words in [["registry", "set", key, name, "te\u200ext"],
                  ["registry", "set", key, "Number", "7", "--type", "dword"],
                  ["registry", "set", key, "List", "a", "b", "--type", "multi"],
                  ["registry", "set", key + "\\Sub", "Bytes", "00 ff", "--type", "binary"],
                  ["registry", "set", key, "Catalog Password", "hunter2"],
                  ["registry", "set", PRODUCT + "\\Engine\\Logging", "MaxDebugFile Count", "500", "--type", "dword"],
                  ["settings", "set", "MaxDebugFile Enabled", "1"], ["settings", "set", "CreateDebugLog", "1"],
                  ["registry", "set", PRODUCT + "\\Engine\\Agents", "Advertising Interval Minutes", "5", "--type",
                   "dword"],
                  ["registry", "set", PRODUCT + "\\13.0\\Install", "Major Version", "13", "--type", "dword"],
                  ["debuglog", "write", log, "--lines", "3", "--interval", "0"]]:
        code, _, errors = run(words)
        if code > 1:
            faults.append(f"{' '.join(words)}: exit code {code}: {errors[:300]}")

    session = ["--language", "EN", "--out", windows(work / "out"), "--root"]
    check("session", session + [windows(work / "tree"), "--exclude", "*.tmp"], {0})
    check("session", session + [windows(work / "empty")], {1})
    check("session", ["--dry-run", "--root", windows(work / "tree")], {0})
    check_failure("session", session + [windows(work / "none")], 66, 2)
    logs = [windows(file) for file in sorted((work / "out").glob("*.xml"))]
    for words in [logs, [logs[0], "--summary"], logs[:2] + ["--diff"], logs + ["--severity", "error"],
                  [logs[0], "--follow", "--for", "1"]]:
        check("joblog show", words, {0, 1})
    check_failure("joblog show", [logs[0], windows(work / "none.xml")], 66, 2)
    check_failure("joblog show", [logs[0], "--since", "soon"], 64)
    check("debuglog info", [log], {0})
    check_failure("debuglog info", [windows(work / "none.log")], 66, 2)
    check_failure("debuglog follow", [windows(work / "none.log"), "--for", "1"], 66, 2)
    for value in [name, "Number", "List"]:
        check("registry get", [key, value], {0})
    check_failure("registry get", [key, "none"], 66, 2)
    check("registry list", [key], {0})
    check_failure("registry list", [key + "\\none"], 66, 2)
    check("registry watch", [key, "--count", "3", "--for", "60"], {0}, least=3, meanwhile=[
        ["registry", "set", key, "Number", "8", "--type", "dword"], ["registry", "set", key + "\\New", "x", "1"],
        ["registry", "set", key, "Number", "9", "--type", "dword"]])
    check_failure("registry watch", [key + "\\none"], 66, 2)
    check_failure("registry set", [key, "x", "1x", "--type", "dword"], 64)
    folder = windows(work / "rep")
    check("replicate", [key, folder, "--once"], {0})
    check_failure("replicate", [key + "\\none", folder], 66, 2)
    check("restore", [key, folder, "--yes"], {0})
    check_failure("restore", [key + "\\none", folder, "--yes"], 66, 2)
    check("hive verify", [windows(hive)], {0, 1})
    check_failure("hive verify", [logs[0]], 65)
    check("hive list", [windows(hive)], {0, 1})
    check_failure("hive list", [windows(work / "none")], 66, 2)
    check("hive diff", [windows(hive), key], {1}, least=2)
    check_failure("hive diff", [windows(hive), key + "\\none"], 66, 2)
    check("identity", ["127.0.0.1"], {0})
    check_failure("identity", ["\\\\"], 64)
    check("convert", ["127.0.0.1", "--to", "ip"], {0})
    check_failure("convert", ["...", "--to", "netbios"], 66)
    check("resolve", ["localhost"], {0})
    check_failure("resolve", [""], 64)
    check("adv show", [], {0, 1, 66})
    check("adv watch", ["--for", "10"], {0}, meanwhile=[
        ["registry", "set", PRODUCT + "\\Engine\\Agents", "Advertising Interval Minutes", minutes, "--type", "dword"]
        for minutes in ("6", "7")])
    check_failure("adv add", [""], 64)
    check("cluster", [], {0})
    check("apps", ["localhost", "--instance", "X"], {0, 1})
    check_failure("apps", ["\\\\"], 64)
    check("database", [], {66})
    check("settings list", [], {0})
    check("settings get", ["CreateDebugLog"], {0})
    check_failure("settings get", ["Path"], 66)
    check_failure("settings set", ["MaxDebugFile Count", "0"], 64)
    check("settings watch", ["--for", "10"], {0}, meanwhile=[
        ["settings", "set", "Engine NDMP Debug Level", level] for level in ("1", "2")])
    check("sgmon watch", ["agent", "--for", "1"], {0})
    check("credential report", [], {0, 1, 2})
    check_failure("credential open", [], 65, given=b"nothing sealed\n")
    check("digest ndmp", ["00" * 64], {0}, given=b"secret\n")
    check_failure("digest ndmp", ["00"], 64)
    check("hash", [logs[0]], {0})
    check_failure("hash", [windows(work / "none")], 66, 2)
    for value in [[], ["2009-11-28T14:07:09.123"], ["@1259417229"]]:
        check("time", value, {0})
    check("time", ["0"], {1})
    check_failure("time", ["2009-02-29"], 65)
    check("volumes", ["--no-write-test"], {0, 1})
    check_failure("volumes", ["--csv"], 64)
    check("whoami", [], {0})
    check("logon", ["nobody"], {0, 2}, given=b"wrong\n")
    check_failure("logon", [""], 64)
    check("privilege", ["SeBackupPrivilege"], {0, 2})
    check("own", [windows(work / "tree"), "--tree", "--yes"], {0, 2})
    check_failure("own", [windows(work / "none"), "--yes"], 66, 2)
    check("doctor", ["--only", "clock,values,keys"], {0, 1, 2})
    check_failure("doctor", ["--only", "none"], 64)
    check("completion", [], {0})


def check_the_table():
    code, output, errors = run(["completion", "--json"])
    if code != 0:
        sys.exit(f"vtctl does not tell its commands: {errors}")
    table = json.loads(output)
    for row in table[1:]:
        command = row["command"]
        if "Exit codes: " not in row["help"] and not row["group"]:
            faults.append(f"{command}: its help tells no exit codes")
        if row["group"]:
            continue
        # Every command fails alike where the command line is wrong.
        check_failure(command, ["--no-such-option"], 64)
        if not row["json"]:
            continue
        if command.replace(" ", "-") not in schemas:
            faults.append(f"{command} prints JSON, and there is no schema of it")
        elif command not in answered:
            faults.append(f"{command} prints JSON, and is not called here")
    check_failure("vtctl", ["no-such-command"], 64)
    known = {row["command"].replace(" ", "-") for row in table if row["json"]} | {FAILURE}
    faults.extend(f"{name}.schema.json is of no command" for name in schemas.keys() - known)
    return len(table) - 1


schemas = read_schemas()
PLAIN = {name: value for name, value in os.environ.items() if name != "VTCTL_TEST_REGISTRY"}
ENVIRONMENT = copy.copy(PLAIN)
ENVIRONMENT["VTCTL_TEST_REGISTRY"] = REGISTRY
run(["registry", "set", "HKCU\\" + REGISTRY + "\\Software", "x", "1"], environment=PLAIN)
try:
    with tempfile.TemporaryDirectory() as scratch:
        call_all(pathlib.Path(scratch))
    commands = check_the_table()
finally:
    subprocess.run(COMMAND[:-1] + ["reg", "delete", "HKCU\\" + REGISTRY, "/f"], capture_output=True, check=False)
for fault in faults:
    print(fault)
print(f"{commands} commands and groups, {len(answered)} with answers, {len(failed)} with failures: "
      f"{len(faults)} faults")
sys.exit(1 if faults else 0)
