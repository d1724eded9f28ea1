#!/usr/bin/env python3
"""The public interface as its two descriptions declare it: the C++ header and the type library's source.

  public_interface.py check   both declare the same, member by member, and describe the library of tests/windows/type_library.txt
  public_interface.py dump    what the built type library has to hold, as that file lists it
  public_interface.py uuids   a C++ source that compiles if the compiler's own identifier of every interface is the header's
"""
import difflib
import os
import re
import sys

FOLDER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "include", "orv_apo")
HEADER = os.path.join(FOLDER, "orv_apo.h")
LIBRARY = os.path.join(FOLDER, "orv_apo_controller.idl")
EXPECTED = os.path.join(FOLDER, "..", "..", "tests", "windows", "type_library.txt")

# Types of the type library's source as the header writes them.
TYPES = {"long": "LONG", "unsigned long": "ULONG", "unsigned short": "USHORT",
         "unsigned char": "BYTE", "float": "FLOAT"}


class Description:
    def __init__(self):
        self.library = None
        self.enumerations = {}  # name: [(member, value)]
        self.interfaces = {}  # name: (identifier, base, [(name, kind, [types])])
        self.classes = {}  # name: identifier
        self.details = {}  # only in the library, (interface, kind, name): ([(type, direction, name)], help text)
        self.members = {}  # only in the library, class: [interface]
        self.hidden = set()  # only in the library, classes that clients cannot create
        self.fixed = set()  # only in the library, interfaces that scripts cannot extend


def without_comments(path):
    with open(path, encoding="utf-8") as file:
        return re.sub(r"//[^\n]*", "", file.read())


def identifier(numbers):
    parts = [int(number, 16) for number in numbers.replace("{", " ").replace("}", " ").split(",")]
    if len(parts) != 11:
        raise SystemExit(f"not an identifier: {numbers}")
    text = "%08X-%04X-%04X-%02X%02X-" % tuple(parts[:5])
    return text + "".join("%02X" % part for part in parts[5:])


def members(text):
    found = []
    for member in filter(None, (part.strip() for part in text.split(","))):
        name, value = member.split("=")
        found.append((name.strip(), int(value, 0)))
    return found


def header_parameter(text):
    return " ".join(text.split()[:-1]).replace(" *", "*")


def read_header(path=HEADER):
    text = without_comments(path)
    found = Description()
    found.library = identifier(re.search(r"GUID LIBID_\w+ = \{(.*?)\}\};", text, re.S).group(1))
    for name, body in re.findall(r"\benum (\w+) : LONG \{(.*?)\};", text, re.S):
        found.enumerations[name] = members(body)
    for name, numbers in re.findall(r"^ORV_APO_CLASS_ID\((\w+),(.*?)\);", text, re.S | re.M):
        found.classes[name] = identifier(numbers)
    identifiers = {name: identifier(numbers) for name, numbers in
                   re.findall(r"^ORV_APO_INTERFACE_ID\((\w+),(.*?)\);", text, re.S | re.M)}
    for name, base, body in re.findall(r"\bstruct (\w+) : (\w+) \{(.*?)\n\};", text, re.S):
        operations = []
        for method, parameters in re.findall(
                r"virtual HRESULT STDMETHODCALLTYPE\s+(\w+)\((.*?)\) = 0;", body, re.S):
            kind, _, rest = method.partition("_")
            if kind not in ("get", "put"):
                kind, rest = "call", method
            types = [header_parameter(part) for part in parameters.split(",") if part.strip()]
            operations.append((rest, kind, types))
        found.interfaces[name] = (identifiers[name], base, operations)
    return found


def library_parameter(text):
    """Its type as the header writes it, its type in the library, its direction and its name."""
    attributes, text = re.match(r"\s*(?:\[([^\]]*)\])?\s*(.*?)\s*$", text, re.S).groups()
    base, stars, name, room = re.match(r"(.*?)\s*(\**)\s*(\w+)(\[\d+\])?$", text, re.S).groups()
    direction = " ".join((attributes or "").split())
    if array := re.match(r"SAFEARRAY\((\w+)\)$", base):
        return "SAFEARRAY*", f"SAFEARRAY({TYPES.get(array.group(1), array.group(1))})", direction, name
    kind = TYPES.get(base, base) + stars
    return kind + ("*" if room else ""), kind + (room or ""), direction, name


def parameters_of(text):
    # Commas inside attributes do not separate parameters.
    text = re.sub(r"\[[^\]]*\]", lambda attributes: attributes.group().replace(",", " "), text)
    return [library_parameter(part) for part in text.split(",") if part.strip()]


def read_library(path=LIBRARY):
    text = without_comments(path)
    found = Description()
    found.library = re.search(r"uuid\(([-0-9A-F]+)\)[^\]]*\]\s*library", text).group(1)
    for name, body, again in re.findall(r"typedef enum (\w+) \{(.*?)\} (\w+);", text, re.S):
        if name != again:
            raise SystemExit(f"enumeration {name} is also called {again}")
        found.enumerations[name] = members(body)
    head = r"\[[^\]]*uuid\(([-0-9A-F]+)\)[^\]]*\]\s*"
    for uuid, name, body in re.findall(head + r"coclass (\w+)\s*\{(.*?)\}", text, re.S):
        found.classes[name] = uuid
        found.members[name] = [mark + member for mark, member in
                               re.findall(r"(\[default\] )?interface (\w+);", body)]
    # Attributes that stand after the identifier.
    found.hidden = set(re.findall(r"noncreatable\s*\]\s*coclass (\w+)", text))
    found.fixed = set(re.findall(r"\bnonextensible\b[^\]]*\]\s*interface (\w+)", text))
    for uuid, name, base, body in re.findall(
            head + r"interface (\w+) : (\w+)\s*\{(.*?)\n  \};", text, re.S):
        operations = []
        for attributes, method, parameters in re.findall(
                r"(?:\[([^\]]*)\]\s*)?HRESULT (\w+)\((.*?)\);", body, re.S):
            kind = re.match(r"\s*prop(get|put)\b", attributes)
            kind = kind.group(1) if kind else "call"
            known = parameters_of(parameters)
            operations.append((method, kind, [parameter[0] for parameter in known]))
            text_of = re.search(r'\bhelpstring\("([^"]*)"\)', attributes)
            found.details[name, kind, method] = (known, text_of.group(1) if text_of else "")
        found.interfaces[name] = (uuid, base, operations)
    return found


def differences(header, library):
    found = []

    def compare(what, ours, theirs):
        if ours != theirs:
            found.append(f"{what}: {ours} in the header, {theirs} in the type library's source")

    compare("library", header.library, library.library)
    for kind in ("enumerations", "classes", "interfaces"):
        ours, theirs = getattr(header, kind), getattr(library, kind)
        compare(f"{kind}", sorted(ours) if kind == "classes" else list(ours),
                sorted(theirs) if kind == "classes" else list(theirs))
        for name in ours.keys() & theirs.keys():
            compare(name, ours[name], theirs[name])
    return found


def uuids(header):
    checks = "".join(f"static_assert(Same(__uuidof({name}), IID_{name}));\n" for name in header.interfaces)
    return f"""#include "orv_apo/orv_apo.h"
constexpr bool Same(const GUID& a, const GUID& b) {{
  for (int i = 0; i < 8; ++i)
    if (a.Data4[i] != b.Data4[i]) return false;
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3;
}}
{checks}HRESULT Create(IORVAPOSystem** system) {{
  return CoCreateInstance(CLSID_ORVAPOSystem, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(system));
}}
"""


def bases(found, name):
    base = found.interfaces[name][1]
    return [base, *bases(found, base)] if base in found.interfaces else []


def operation_line(library, name, index, operations):
    method, kind, _ = operations[index]
    known, text = library.details[name, kind, method]
    below = bases(library, name)
    slot = 3 + sum(len(library.interfaces[base][2]) for base in below) + index
    # A property's get and put share the number of the one that comes first. Names and help text are found by the number.
    first = [operation[0] for operation in operations].index(method)
    parameters = []
    for position, (_, written, direction, parameter) in enumerate(known):
        named = first == index and not (kind == "put" and position == len(known) - 1)
        parameters.append(f"{direction} {written}" + (f" {parameter}" if named else ""))
    line = f"  {slot} {0x60010000 + 0x10000 * len(below) + first:x} {kind} {method}({', '.join(parameters)})"
    return line + (f' "{text}"' if text and first == index else "")


def dump(library):
    """A block for each type, in the alphabet's order."""
    blocks = []
    for name, constants in library.enumerations.items():
        blocks.append([f"enum {name}", *(f"  {member} = {value}" for member, value in constants)])
    for name, (uuid, base, operations) in library.interfaces.items():
        blocks.append([f"interface {name} {{{uuid}}} : {base}" + (" nonextensible" if name in library.fixed else ""),
                       *(operation_line(library, name, index, operations) for index in range(len(operations)))])
    for name, uuid in library.classes.items():
        blocks.append([f"class {name} {{{uuid}}}" + (" noncreatable" if name in library.hidden else ""),
                       *(f"  {member}" for member in library.members[name])])
    name = re.search(r"library (\w+)", without_comments(LIBRARY)).group(1)
    version = re.search(r"version\(([\d.]+)\)", without_comments(LIBRARY)).group(1)
    lines = [f"library {name} {{{library.library}}} {version}"]
    return "\n".join([*lines, *sorted("\n".join(block) for block in blocks), ""])


def main(arguments):
    header, library = read_header(), read_library()
    if arguments == ["dump"]:
        sys.stdout.write(dump(library))
        return 0
    if arguments == ["uuids"]:
        sys.stdout.write(uuids(header))
        return 0
    if arguments != ["check"]:
        sys.stderr.write(__doc__)
        return 2
    found = differences(header, library)
    with open(EXPECTED, encoding="utf-8") as file:
        found += difflib.unified_diff(file.read().splitlines(), dump(library).splitlines(), "type_library.txt",
                                      "the type library's source", lineterm="")
    operations = sum(len(operations) for _, _, operations in header.interfaces.values())
    print("\n".join(found) if found else f"{len(header.interfaces)} interfaces, {operations} operations, "
          f"{len(header.enumerations)} enumerations, {len(header.classes)} classes agree")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
