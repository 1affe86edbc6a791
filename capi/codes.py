"""The register's codes, from capi/codes.txt: what capi/generate.py makes of
them (see the head of capi/codes.txt), and the parameters that take them."""

import json
import pathlib
import re
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE = ROOT / "capi" / "codes.txt"
FORMS = ("number", "byte")
JSON_KINDS = ("names", "numbers", "names+numbers", "open", "-")
WHOSE = {"library": "the driver", "sim": "the simulated register"}
WIDTH = 100


class CodeError(Exception):
    pass


def snake(name):
    return re.sub(r"([a-z\d])([A-Z])", r"\1_\2", name).lower()


class Value:
    def __init__(self, group, where, value, member, name, whose, meaning):
        if group.form == "byte":
            if len(value) != 1 or not 0x20 < ord(value) < 0x7F:
                raise CodeError(f"{where}: a byte is one printable ASCII character, not {value}")
            self.number = ord(value)
        elif not re.fullmatch(r"-?\d+", value):
            raise CodeError(f"{where}: a number, not {value}")
        else:
            self.number = int(value)
        if not re.fullmatch(r"[A-Z][A-Z0-9_]*", member):
            raise CodeError(f"{where}: a member is in capitals, not {member}")
        if whose not in WHOSE:
            raise CodeError(f"{where}: whose meaning: library or sim, not {whose}")
        if name != "-" and not re.fullmatch(r"[a-z0-9][a-z0-9-]*", name):
            raise CodeError(f"{where}: a name is lower case with hyphens, not {name}")
        if group.json == "numbers" and name not in ("-", value):
            raise CodeError(f"{where}: a group whose JSON carries numbers names a value by it")
        self.value, self.member, self.whose, self.meaning = value, member, whose, meaning
        self.byte = group.form == "byte"
        self.name = None if name == "-" else name
        self.c = f"VERDA_{group.prefix}_{member}"

    @property
    def shown(self):
        """The value as C and the references write it: 4, or '0' for a byte."""
        return f"'{self.value}'" if self.byte else self.value


class Group:
    def __init__(self, where, name, prefix, form, json_kind):
        if not re.fullmatch(r"[A-Z][A-Za-z]+", name):
            raise CodeError(f"{where}: a group's name is in CamelCase, not {name}")
        if not re.fullmatch(r"[A-Z][A-Z0-9_]*", prefix):
            raise CodeError(f"{where}: a prefix is in capitals, not {prefix}")
        if form not in FORMS:
            raise CodeError(f"{where}: form {' or '.join(FORMS)}, not {form}")
        if json_kind not in JSON_KINDS:
            raise CodeError(f"{where}: JSON {', '.join(JSON_KINDS)}, not {json_kind}")
        self.name, self.prefix, self.form, self.json = name, prefix, form, json_kind
        self.c_enum = "verda_" + snake(name)
        self.anchor = name.lower()  # of its heading in docs/codes.md
        self.takes, self.doc, self.values = [], [], []

    def add(self, value):
        for other in self.values:
            for what in ("value", "member", "name"):
                if getattr(value, what) is not None and getattr(value, what) == getattr(other, what):
                    raise CodeError(f"{self.name}: two values of the {what} {getattr(value, what)}")
        self.values.append(value)

    @property
    def named(self):
        return [v for v in self.values if v.name]

    def check(self):
        if not self.values:
            raise CodeError(f"{self.name}: no values")
        if not self.takes:
            raise CodeError(f"{self.name}: no parameter takes it")
        if self.json in ("names", "names+numbers") and not self.named:
            raise CodeError(f"{self.name}: its JSON carries names, and it names no value")
        if self.json == "names" and len(self.named) != len(self.values) and self.form == "byte":
            raise CodeError(f"{self.name}: a byte code carried by name names every value")

    @property
    def summary(self):
        """The first sentence of the reference, one line."""
        text = " ".join(self.doc)
        return re.split(r"(?<=\.)\s", text, maxsplit=1)[0]


def read_codes():
    groups, group = [], None
    for number, raw in enumerate(TABLE.read_text(encoding="utf-8").splitlines(), 1):
        line = raw.rstrip()
        where = f"line {number}"
        if not line or line.startswith("#"):
            continue
        if line.startswith("== "):
            fields = line[3:].split()
            if len(fields) != 4:
                raise CodeError(f"{where}: == Group Prefix Form JSON")
            group = Group(where, *fields)
            groups.append(group)
        elif group is None:
            raise CodeError(f"{where}: before the first group")
        elif line.startswith("takes "):
            for item in line[6:].split():
                if not re.fullmatch(r"\w+\.\w+", item):
                    raise CodeError(f"{where}: takes Operation.Parameter, not {item}")
                group.takes.append(tuple(item.split(".")))
        elif line == ">" or line.startswith("> "):
            group.doc.append(line[2:])
        else:
            fields = line.split(None, 4)
            if len(fields) != 5:
                raise CodeError(f"{where}: VALUE MEMBER NAME WHOSE Meaning")
            group.add(Value(group, where, *fields))
    names = [g.name for g in groups]
    if len(set(names)) != len(names):
        raise CodeError("two groups of one name")
    constants = [v.c for g in groups for v in g.values]
    twice = {c for c in constants if constants.count(c) > 1}
    if twice:
        raise CodeError(f"two constants of one name: {', '.join(sorted(twice))}")
    for g in groups:
        g.check()
    return groups


def check_takes(groups, operations):
    """Every parameter that a group names exists, of the kind of its form;
    the groups each parameter takes, by (operation, parameter)."""
    params = {(op.name, p.name): p for op in operations for p in op.parameters}
    takes = {}
    for g in groups:
        for key in g.takes:
            p = params.get(key)
            if p is None:
                raise CodeError(f"{g.name}: takes {'.'.join(key)}, which is no parameter")
            kind = "char" if g.form == "byte" else "int"
            if p.kind != kind:
                raise CodeError(f"{g.name}: a {g.form} code, but {'.'.join(key)} is {p.kind}")
            takes.setdefault(key, []).append(g)
    return takes


# --- capi/verda.h -----------------------------------------------------------

HEADER_BEGIN = "/* BEGIN GENERATED CODES (capi/generate.py from capi/codes.txt) */"
HEADER_END = "/* END GENERATED CODES */"


def c_comment(text, indent=""):
    lines = textwrap.wrap(text, WIDTH - len(indent) - 3, initial_indent="/* ",
                          subsequent_indent="   ", break_on_hyphens=False, break_long_words=False)
    lines[-1] += " */"
    return [indent + line for line in lines]


def whose(value):
    return "(the simulated register) " if value.whose == "sim" else ""


def plain(text):
    """Markdown made plain for a comment: no backquotes."""
    return text.replace("`", "")


def header_block(groups):
    out = []
    for g in groups:
        taken = ", ".join(f"{op}'s {p}" for op, p in g.takes)
        out += c_comment(f"{g.name}: {plain(' '.join(g.doc))} Taken by {taken}; "
                         "docs/codes.md tells more.")
        out.append(f"enum {g.c_enum} {{")
        for i, v in enumerate(g.values):
            name = f" ({v.name})" if v.name else ""
            out += c_comment(f"{whose(v)}{v.meaning}{name}", "    ")
            out.append(f"    {v.c} = {v.shown}" + ("," if i < len(g.values) - 1 else ""))
        out.append("};")
        out.append("")
    return "\n".join(out)


# --- python/verda/_codes.py -------------------------------------------------

def py_string(text):
    return text.replace("\\", "\\\\").replace('"""', '\\"\\"\\"')


def py_fill(head, text, indent):
    return textwrap.wrap(py_string(text), WIDTH, initial_indent=head, subsequent_indent=indent,
                         break_on_hyphens=False, break_long_words=False)


def wrap_list(head, items, tail):
    """head, items joined by ", " and tail, its lines within the width and
    aligned under the first item."""
    lines, line = [], head
    for i, item in enumerate(items):
        piece = item + ("," if i < len(items) - 1 else tail)
        if line != head and len(line) + 1 + len(piece) > WIDTH:
            lines.append(line)
            line = " " * len(head) + piece
        else:
            line += ("" if line == head else " ") + piece
    return "\n".join(lines + [line])


def python_module(groups):
    out = ["# Generated by capi/generate.py from capi/codes.txt: do not edit.",
           '"""The register\'s codes, named: what a parameter of the register takes',
           "and what its values mean (docs/codes.md). A code sent as a number is an",
           "IntEnum; a code sent as one byte is an enum of one-character strings, which",
           'the char parameters take as they are."""',
           "",
           "from __future__ import annotations",
           "",
           "import enum",
           "",
           "",
           "class _Named:",
           '    """The name of a value for the interfaces: verda-server\'s JSON, the',
           '    options of verda."""',
           "",
           "    @property",
           "    def api_name(self) -> str | None:",
           '        """The value\'s name for the interfaces, or None when it has none."""',
           "        return _API_NAMES.get((type(self).__name__, self.value))",
           "",
           "    @classmethod",
           "    def from_api_name(cls, name: str):",
           '        """The value of that name; ValueError for any other text."""',
           "        for member in cls:",
           "            if member.api_name == name:",
           "                return member",
           '        raise ValueError(f"{name!r} names no {cls.__name__}")',
           "",
           "",
           "class NumberCode(_Named, enum.IntEnum):",
           '    """A code that the register takes as a number (an int parameter)."""',
           "",
           "",
           "class ByteCode(_Named, str, enum.Enum):",
           '    """A code that the register takes as one byte (a char parameter): its',
           '    value is that character."""',
           "",
           "    def __str__(self) -> str:",
           "        return self.value"]
    names = []
    for g in groups:
        base = "ByteCode" if g.form == "byte" else "NumberCode"
        out += ["", ""]
        out.append(f"class {g.name}({base}):")
        taken = ", ".join(f"{op}'s {p}" for op, p in g.takes)
        doc = py_fill('    """', f"{plain(' '.join(g.doc))} Taken by {taken}.", "    ")
        doc[-1] += '"""'
        out += doc
        out.append("")
        for v in g.values:
            value = f'"{v.value}"' if g.form == "byte" else v.value
            out.append(f"    {v.member} = {value}")
            name = f" Its name: {v.name}." if v.name else ""
            doc = py_fill('    """', f"{whose(v)}{v.meaning}{name}", "    ")
            doc[-1] += '"""'
            out += doc
            if v.name:
                value = f'"{v.value}"' if g.form == "byte" else v.value
                names.append(f'    ("{g.name}", {value}): "{v.name}",')
    out += ["", "", "_API_NAMES = {"] + names + ["}", ""]
    out.append(wrap_list("__all__ = [", ['"NumberCode"', '"ByteCode"', '"CODES"'] +
                         [f'"{g.name}"' for g in groups], "]"))
    out.append(wrap_list("CODES = (", [g.name for g in groups], ")"))
    out.append('"""Every enum of the register\'s codes."""')
    return "\n".join(out) + "\n"


# --- common/Codes.h -----------------------------------------------------------

def programs_header(groups):
    out = ["// Generated by capi/generate.py from capi/codes.txt: do not edit.",
           "//",
           "// The names that the programs (verda, verda-server) give the register's codes,",
           "// each value by its constant of capi/verda.h; a value without a name has a",
           "// null one. docs/codes.md tells what each means.",
           "",
           "// The generator lays this file out; clang-format would move its lines about.",
           "// clang-format off",
           "",
           "#ifndef VERDA_COMMON_CODES_H",
           "#define VERDA_COMMON_CODES_H",
           "",
           "#include <cstddef>",
           "#include <cstring>",
           "",
           '#include "capi/verda.h"',
           "",
           "namespace codes {",
           "",
           "struct Code {",
           "    int value;         // a number, or the byte as a char",
           "    const char* name;  // null when the value has no name",
           "};",
           ""]
    for g in groups:
        out += textwrap.wrap(f"{g.name}: {plain(g.summary)}", WIDTH, initial_indent="// ",
                             subsequent_indent="// ", break_on_hyphens=False)
        out.append(f"constexpr Code k{g.name}[] = {{")
        for v in g.values:
            name = f'"{v.name}"' if v.name else "nullptr"
            out.append(f"    {{{v.c}, {name}}},")
        out.append("};")
        out.append("")
    out += ["// The name of value in table; null when it has none or is not there.",
            "template <std::size_t N>",
            "constexpr const char* nameOf(const Code (&table)[N], int value) {",
            "    for (const Code& code : table)",
            "        if (code.value == value) return code.name;",
            "    return nullptr;",
            "}",
            "",
            "// The value of a name in table; false, leaving value alone, for any other text.",
            "template <std::size_t N>",
            "bool valueOf(const Code (&table)[N], const char* name, int& value) {",
            "    for (const Code& code : table)",
            "        if (code.name != nullptr && std::strcmp(code.name, name) == 0) {",
            "            value = code.value;",
            "            return true;",
            "        }",
            "    return false;",
            "}",
            "",
            "// Whether table has value.",
            "template <std::size_t N>",
            "constexpr bool known(const Code (&table)[N], int value) {",
            "    for (const Code& code : table)",
            "        if (code.value == value) return true;",
            "    return false;",
            "}",
            "",
            "}  // namespace codes",
            "",
            "#endif",
            "",
            "// clang-format on"]
    return "\n".join(out) + "\n"


# --- server/openapi.json ------------------------------------------------------

OPENAPI = ROOT / "server" / "openapi.json"


def schema(g):
    lines = [" ".join(g.doc), ""]
    for v in g.values if g.json != "names" else g.named:
        if g.json == "numbers":
            key = f"`{v.value}`"
        elif v.name:
            key = f"`{v.name}` ({v.shown})"
        else:
            key = v.shown
        lines.append(f"- {key}: {whose(v)}{v.meaning}")
    description = "\n".join(lines)
    numbers = [int(v.value) for v in g.values if v.value.isdigit()]
    if g.json == "names":
        body = {"type": "string", "enum": [v.name for v in g.named]}
    elif g.json == "numbers":
        body = {"type": "integer", "enum": numbers}
    elif g.json == "names+numbers":
        body = {"oneOf": [{"type": "string", "enum": [v.name for v in g.named]},
                          {"type": "integer", "enum": numbers}]}
    else:
        body = {"type": "integer", "minimum": 0}
    return dict(body, description=description)


def openapi(groups):
    """The document with the code schemas written anew, and nothing else
    changed; its layout as json.dumps(indent=1) gives it."""
    document = json.loads(OPENAPI.read_text(encoding="utf-8"))
    schemas = document.setdefault("components", {}).setdefault("schemas", {})
    for g in groups:
        if g.json != "-":
            schemas[g.name] = schema(g)
    return json.dumps(document, indent=1, ensure_ascii=False) + "\n"


# --- docs/codes.md ------------------------------------------------------------

DOCS = ROOT / "docs" / "codes.md"
DOCS_BEGIN = "<!-- BEGIN GENERATED CODES (capi/generate.py from capi/codes.txt) -->"
DOCS_END = "<!-- END GENERATED CODES -->"


def markdown(groups):
    out = []
    for g in groups:
        out += [f"### {g.name}", ""]
        out += g.doc + [""]
        taken = ", ".join(f"`{op}`'s `{p}`" for op, p in g.takes)
        form = "one byte (a `char` parameter)" if g.form == "byte" else "a number"
        json_text = {"names": "by the names below", "numbers": "by the number",
                     "names+numbers": "by the names below or by the number",
                     "open": "by the number, any whole number from 0",
                     "-": "not at all"}[g.json]
        schema_text = f" (schema `{g.name}`)" if g.json != "-" else ""
        out += [f"Taken by {taken}, as {form}. C: `enum {g.c_enum}`; Python: "
                f"`verda.{g.name}`; verda-server's JSON: {json_text}{schema_text}.", ""]
        out += ["| Value | C | Python | Name | Meaning |", "|---|---|---|---|---|"]
        for v in g.values:
            name = f"`{v.name}`" if v.name else ""
            meaning = ("*Simulated register:* " if v.whose == "sim" else "") + v.meaning
            out.append(f"| {v.shown} | `{v.c}` | `{g.name}.{v.member}` | {name} | "
                       f"{meaning.replace('|', '/')} |")
        out.append("")
    return "\n".join(out)
