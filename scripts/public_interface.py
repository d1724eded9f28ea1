#!/usr/bin/env python3
"""The public interface as its two descriptions tell it: the C++ header and the type library's source.

  public_interface.py check        the two say the same, member by member, and what the type library alone says
                                   (directions, parameter names, help texts) is what its test expects
  public_interface.py table FILE   the header's members as C++ tables, for tests of the built type library
"""
import os
import re
import sys

FOLDER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "include", "orv_apo")
HEADER = os.path.join(FOLDER, "orv_apo.h")
LIBRARY = os.path.join(FOLDER, "orv_apo_controller.idl")
EXPECTED = os.path.join(FOLDER, "..", "..", "tests", "windows", "type_library_operations.h")

# Types of the type library's source as the header writes them.
TYPES = {"long": "LONG", "unsigned long": "ULONG", "unsigned short": "USHORT",
         "unsigned char": "BYTE", "float": "FLOAT"}


class Description:
    def __init__(self):
        self.library = None
        self.enumerations = {}  # name: [(member, value)]
        self.interfaces = {}  # name: (identifier, base, [(name, kind, [types])])
        self.classes = {}  # name: identifier
        self.details = {}  # what only the library says, method: (directions and names, help text)


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
    """Its type, its direction and its name."""
    attributes, text = re.match(r"\s*(?:\[([^\]]*)\])?\s*(.*?)\s*$", text, re.S).groups()
    base, stars, name, room = re.match(r"(.*?)\s*(\**)\s*(\w+)(\[\d+\])?$", text, re.S).groups()
    array = re.match(r"SAFEARRAY\(\w+\)$", base)
    kind = "SAFEARRAY*" if array else TYPES.get(base, base) + stars + ("*" if room else "")
    return kind, " ".join((attributes or "").split()), name


def parameters_of(text):
    # Commas inside attributes do not separate parameters.
    text = re.sub(r"\[[^\]]*\]", lambda attributes: attributes.group().replace(",", " "), text)
    return [library_parameter(part) for part in text.split(",") if part.strip()]


def details_of(interface, attributes, kind, method, parameters):
    texts = [f"{direction} {name}" for _, direction, name in parameters]
    if kind == "put":
        texts[-1] = parameters[-1][1]
    text = re.search(r'\bhelpstring\("([^"]*)"\)', attributes)
    prefix = "" if kind == "call" else kind + "_"
    return f"{interface}::{prefix}{method}", (", ".join(texts), text.group(1) if text else "")


def read_expected(path=EXPECTED):
    text = re.sub(r'"\s+L"', "", without_comments(path))  # a text of several lines
    rows = re.findall(r'\{L"([^"]*)",\s*L"([^"]*)",\s*L"([^"]*)"\}', text)
    return {method: (parameters, help_text) for method, parameters, help_text in rows}


def read_library(path=LIBRARY):
    text = without_comments(path)
    found = Description()
    found.library = re.search(r"uuid\(([-0-9A-F]+)\)[^\]]*\]\s*library", text).group(1)
    for name, body, again in re.findall(r"typedef enum (\w+) \{(.*?)\} (\w+);", text, re.S):
        if name != again:
            raise SystemExit(f"enumeration {name} is also called {again}")
        found.enumerations[name] = members(body)
    head = r"\[[^\]]*uuid\(([-0-9A-F]+)\)[^\]]*\]\s*"
    for uuid, name in re.findall(head + r"coclass (\w+)", text):
        found.classes[name] = uuid
    for uuid, name, base, body in re.findall(
            head + r"interface (\w+) : (\w+)\s*\{(.*?)\n  \};", text, re.S):
        operations = []
        for attributes, method, parameters in re.findall(
                r"(?:\[([^\]]*)\]\s*)?HRESULT (\w+)\((.*?)\);", body, re.S):
            kind = re.match(r"\s*prop(get|put)\b", attributes)
            kind = kind.group(1) if kind else "call"
            known = parameters_of(parameters)
            operations.append((method, kind, [parameter[0] for parameter in known]))
            whole, details = details_of(name, attributes, kind, method, known)
            found.details[whole] = details
        found.interfaces[name] = (uuid, base, operations)
    return found


def differences(header, library, expected):
    found = []

    def compare(what, ours, theirs, where="the header"):
        if ours != theirs:
            found.append(f"{what}: {ours} in {where}, {theirs} in the type library's source")

    compare("library", header.library, library.library)
    for kind in ("enumerations", "classes", "interfaces"):
        ours, theirs = getattr(header, kind), getattr(library, kind)
        compare(f"{kind}", sorted(ours) if kind == "classes" else list(ours),
                sorted(theirs) if kind == "classes" else list(theirs))
        for name in ours.keys() & theirs.keys():
            compare(name, ours[name], theirs[name])
    for method in sorted(expected.keys() | library.details.keys()):
        compare(method, expected.get(method), library.details.get(method), "the test")
    return found


def write_table(header, path):
    lines = ["// Written from the public header by scripts/public_interface.py.", ""]
    lines.append("const HeaderConstant kConstants[] = {")
    for name, constants in header.enumerations.items():
        lines += [f'    {{L"{name}", L"{member}", {member}}},' for member, _ in constants]
    lines += ["};", "", "const HeaderInterface kInterfaces[] = {"]
    lines += [f'    {{L"{name}", &IID_{name}, L"{base}"}},'
              for name, (_, base, _) in header.interfaces.items()]
    lines += ["};", "", "const HeaderOperation kOperations[] = {"]
    kinds = {"get": "INVOKE_PROPERTYGET", "put": "INVOKE_PROPERTYPUT", "call": "INVOKE_FUNC"}
    for name, (_, _, operations) in header.interfaces.items():
        lines += [f'    {{L"{name}", L"{operation}", {kinds[kind]}, L"{", ".join(types)}"}},'
                  for operation, kind, types in operations]
    lines += ["};", "", "const HeaderClass kClasses[] = {"]
    lines += [f'    {{L"{name}", &CLSID_{name}}},' for name in header.classes]
    lines += ["};", ""]
    os.makedirs(os.path.dirname(os.path.abspath(path)), exist_ok=True)
    with open(path, "w", encoding="utf-8") as file:
        file.write("\n".join(lines))


def main(arguments):
    header = read_header()
    if arguments[:1] == ["table"] and len(arguments) == 2:
        write_table(header, arguments[1])
        return 0
    if arguments != ["check"]:
        sys.stderr.write(__doc__)
        return 2
    found = differences(header, read_library(), read_expected())
    operations = sum(len(operations) for _, _, operations in header.interfaces.values())
    print("\n".join(found) if found else f"{len(header.interfaces)} interfaces, {operations} operations, "
          f"{len(header.enumerations)} enumerations, {len(header.classes)} classes agree")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
