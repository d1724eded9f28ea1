#!/usr/bin/env python3
"""Writes the page's files as a C++ source, each as it is and compressed.

  embed_page.py OUTPUT FOLDER [FILE=NAME ...]   the files of the folder under their own names, and others under the given ones
"""
import gzip
import hashlib
import os
import re
import sys

TYPES = {".html": "text/html; charset=utf-8", ".css": "text/css; charset=utf-8", ".js": "text/javascript; charset=utf-8",
         ".svg": "image/svg+xml", ".txt": "text/plain; charset=utf-8"}


def trimmed(content, name):
    """The page's own text without indents, comments and the blanks of style sheets; the other lines keep their numbers."""
    text = b"\n".join(re.sub(rb"(^|(?<=[;,]) )//.*", b"", line.strip()) for line in content.split(b"\n"))
    return text.replace(b": ", b":").replace(b" {\n", b"{").replace(b";\n", b";") if name.endswith(".css") else text


def literal(content):
    """The bytes as pieces of one string literal."""
    escaped = [f"\\{byte:03o}" if byte < 32 or byte > 126 or byte in b'"\\?' else chr(byte) for byte in content]
    return "\n".join('    "' + "".join(escaped[i:i + 1000]) + '"' for i in range(0, max(1, len(escaped)), 1000))


output, folder, others = sys.argv[1], sys.argv[2], sys.argv[3:]
files = [(os.path.join(folder, name), name) for name in sorted(os.listdir(folder)) if os.path.splitext(name)[1] in TYPES]
files += [tuple(other.split("=", 1)) for other in others]
contents, rows = [], []
for number, (path, name) in enumerate(files):
    with open(path, "rb") as file:
        content = trimmed(file.read(), name) if path.startswith(folder) else file.read()
    tag = hashlib.sha256(content).hexdigest()[:16]
    zipped = gzip.compress(content, mtime=0)
    contents.append(f"constexpr char k{number}[] =\n{literal(content)};\nconstexpr char kZipped{number}[] =\n{literal(zipped)};")
    rows.append(f'    {{"/{"" if name == "index.html" else name}", "{TYPES[os.path.splitext(name)[1]]}", "W/\\"{tag}\\"",\n'
                f"     {{k{number}, sizeof k{number} - 1}}, {{kZipped{number}, sizeof kZipped{number} - 1}}}}")
source = "\n".join(['#include "panel/server/page_files.h"', "", "namespace orv::panel {", "namespace {", "", *contents, "",
                    "constexpr PageFile kFiles[] = {", ",\n".join(rows) + "};", "", "}  // namespace", "",
                    "std::span<const PageFile> PageFiles() { return kFiles; }", "", "}  // namespace orv::panel", ""])
with open(output, "w", encoding="ascii") as file:
    file.write(source)
