#!/usr/bin/env python3
"""Writes the fuzz targets' seed inputs into tests/fuzz/<target>/ from the
scenarios and the device files. Run from the repository root with the path
of a built corvane-sim (it names the registered nodes and their routines):

    tests/fuzz/make_seeds.py build/host/corvane-sim

Seeds are named by the SHA-1 of their content, as libFuzzer names its
inputs; inputs that once crashed or hung a target are kept beside them as
crash-* or timeout-*."""
import glob
import hashlib
import os
import re
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
FUZZ = os.path.join(ROOT, "tests", "fuzz")


def unquote(text):
    if len(text) < 2 or text[0] != '"' or text[-1] != '"':
        return text
    return bytes(text[1:-1], "utf-8").decode("unicode_escape")


def write_seed(target, data):
    if isinstance(data, str):
        data = data.encode("utf-8", "surrogateescape")
    directory = os.path.join(FUZZ, target)
    os.makedirs(directory, exist_ok=True)
    with open(os.path.join(directory, hashlib.sha1(data).hexdigest()), "wb") as out:
        out.write(data)


FAMILY_HEADERS = {
    "generic": ["handlers/generic/simple_set.h", "handlers/generic/simple_set_variants.h",
                "handlers/generic/accounts.h"],
    "image": ["handlers/image/exposure.h", "handlers/image/colour.h", "handlers/image/masks.h"],
    "encoder": ["handlers/encoder/resolution.h", "handlers/encoder/streams.h"],
    "network": ["handlers/network/addressing.h", "handlers/network/streaming.h",
                "handlers/network/management.h"],
    "events": ["handlers/events/motion.h", "handlers/events/schedules.h", "handlers/events/actions.h"],
    "lens": ["lens/lens_commands.h", "lens/ptz.h", "lens/layouts.h"],
}


def families():
    """Family name -> handler names, from the routine lists of its headers
    (in the order the fuzz target lists them)."""
    found = {}
    for family, headers in FAMILY_HEADERS.items():
        found[family] = []
        for header in headers:
            text = open(os.path.join(ROOT, header)).read()
            found[family] += re.findall(r"X\(handler, (\w+)\)", text)
    return found


def registrations(sim):
    with tempfile.TemporaryDirectory() as work:
        script = os.path.join(work, "empty.scn")
        trace = os.path.join(work, "trace")
        open(script, "w").close()
        subprocess.run([sim, "--script", script, "--trace", trace], stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, check=True)
        routine_of = {}
        for line in open(trace):
            words = line.split()
            if words[0] == "listen":
                routine_of.setdefault(words[1], set()).add(words[2])
        return routine_of


def scenario_lines():
    for path in sorted(glob.glob(os.path.join(ROOT, "tests", "scenarios", "**", "*.scn"), recursive=True)):
        for line in open(path, encoding="utf-8", errors="surrogateescape"):
            yield line.rstrip("\n")


def device_nodes(path):
    nodes = {}
    for line in open(path, encoding="utf-8", errors="surrogateescape"):
        line = line.rstrip("\n")
        if line and not line.startswith("#") and not line.startswith("@") and "=" in line:
            name, value = line.split("=", 1)
            nodes[name] = unquote(value)
    return nodes


def main():
    sim = sys.argv[1]
    routine_of = registrations(sim)
    for family, routines in families().items():
        target = "handlers-" + family
        for line in scenario_lines():
            words = line.split(None, 2)
            if len(words) >= 2 and words[0] == "set" and routine_of.get(words[1], set()) & set(routines):
                write_seed(target, words[1] + "\n" + unquote(words[2] if len(words) > 2 else ""))
            if len(words) >= 3 and words[0] == "call" and words[1] in routines:
                rest = words[2].split(None, 1)
                value = unquote(rest[1]) if len(rest) > 1 else ""
                write_seed(target, bytes([1, routines.index(words[1])]) + (rest[0] + "\n" + value).encode())

    default = device_nodes(os.path.join(ROOT, "sim", "devices", "default.dev"))
    tables = open(os.path.join(ROOT, "bindings", "tables.cpp")).read()
    for legacy, native in re.findall(r'\{"(corvane\.[^"]+)",\s*\w+,\s*"([^"]+)",\s*n2a_\w+\}', tables):
        legacy, native = legacy.replace("%d", "1"), native.replace("%d", "1")
        write_seed("converters", legacy + "\n" + default.get(native, ""))

    devices = sorted(glob.glob(os.path.join(ROOT, "sim", "devices", "*.dev")) +
                     glob.glob(os.path.join(ROOT, "tests", "scenarios", "**", "*.dev"), recursive=True))
    for path in devices:
        data = open(path, "rb").read()
        write_seed("device_file", data)
        nodes = device_nodes(path)
        if path.endswith("default.dev"):
            continue
        write_seed("startup", "".join(name + "=" + value + "\n" for name, value in nodes.items()))
    write_seed("startup", "system.info.slave_cameras=2000000000\n")
    for path in sorted(glob.glob(os.path.join(ROOT, "tests", "scenarios", "**", "*.scn"), recursive=True)):
        write_seed("script", open(path, "rb").read())


main()
