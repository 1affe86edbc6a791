#!/usr/bin/python3
"""Makes the operations' code and reference from capi/operations.txt, and
the register's codes from capi/codes.txt (capi/codes.py).

    capi/generate.py            rewrites the generated files
    capi/generate.py --check    exits 1, naming them, when any is stale

Writes: capi/OperationFunctions.cpp (the C wrappers, the operation list and
verda_call), the operation prototypes in capi/verda.h, the version nodes of
every C function in cmake/exports.map, api/Forwards.cpp (the VERDA functions
that only forward), python/verda/_operations.py (the Python methods and
results), and the operations' reference in docs/c-api.md and docs/api.md;
in the files that are not generated whole, between their BEGIN/END GENERATED
lines; and for the operations test tests/capi/OperationCalls.cpp (each
operation's C function and VR35 member, called with the same arguments).
From capi/codes.txt: the codes' enums in capi/verda.h, python/verda/_codes.py,
common/Codes.h (the names the programs take), the code schemas of
server/openapi.json and the reference docs/codes.md.
`cmake --build BUILD --target generate` runs it.
"""

import keyword
import pathlib
import re
import sys
import textwrap

import codes

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE = ROOT / "capi" / "operations.txt"
COMMANDS = ROOT / "wire" / "Command.h"
API_HEADER = ROOT / "api" / "CorteliaVERDA.h"
C_HEADER = ROOT / "capi" / "verda.h"
WIDTH = 100
# The VERDA function of an operation: generated, written by hand, or none.
CXX_KINDS = ("forward", "by-hand", "-")

# C++ type in the member -> (kind, direction it allows)
TYPES = {
    "int": ("int", "in"),
    "double": ("double", "in"),
    "char": ("char", "in"),
    "std::string": ("text", "in"),
    "int&": ("int", "out"),
    "long&": ("long", "out"),
    "double&": ("double", "out"),
    "char&": ("char", "out"),
    "bool&": ("bool", "out"),
    "std::string&": ("text", "out"),
}
C_VALUE = {"int": "int", "long": "long", "double": "double", "char": "char", "bool": "bool"}
ENUM = {"int": "VERDA_TYPE_INT", "long": "VERDA_TYPE_LONG", "double": "VERDA_TYPE_DOUBLE",
        "char": "VERDA_TYPE_CHAR", "bool": "VERDA_TYPE_BOOL", "text": "VERDA_TYPE_TEXT"}
DIRECTION = {"in": "VERDA_IN", "out": "VERDA_OUT", "inout": "VERDA_INOUT"}
FORMS = {"as-is": "Form::AsIs", "fromASCIItoDOS": "Form::FromASCIItoDOS",
         "fromDOStoASCII": "Form::FromDOStoASCII"}
IN_FORMS = {"as-is", "fromASCIItoDOS"}
OUT_FORMS = {"as-is", "fromDOStoASCII"}
PY_TYPE = {"int": "int", "long": "int", "double": "float", "char": "str", "bool": "bool",
           "text": "str"}
PY_IN_TYPE = dict(PY_TYPE, char="str | bytes", double="float")


class TableError(Exception):
    pass


def snake(name):
    """The usual two-step rule: OpenFiscalInv -> open_fiscal_inv, nFD -> n_fd."""
    name = re.sub(r"([A-Z]+)([A-Z][a-z])", r"\1_\2", name)
    name = re.sub(r"([a-z\d])([A-Z])", r"\1_\2", name)
    name = name.lower()
    return name + "_" if keyword.iskeyword(name) else name


class Parameter:
    def __init__(self, line_number, name, cpp_type, direction, form, meaning):
        where = f"line {line_number}: {name}"
        if cpp_type not in TYPES:
            raise TableError(f"{where}: unknown type {cpp_type}")
        self.kind, allowed = TYPES[cpp_type]
        if direction not in DIRECTION or (allowed == "in") != (direction == "in"):
            raise TableError(f"{where}: {cpp_type} cannot be {direction}")
        if self.kind == "text":
            if direction == "inout":
                parts = form.split(">")
                if len(parts) != 2 or parts[0] not in IN_FORMS or parts[1] not in OUT_FORMS:
                    raise TableError(f"{where}: an inout text needs a form IN>OUT, not {form}")
                self.in_form, self.out_form = parts
            elif form not in (IN_FORMS if direction == "in" else OUT_FORMS):
                raise TableError(f"{where}: form {form} for a text {direction}")
            else:
                self.in_form = self.out_form = form
        elif form != "-":
            raise TableError(f"{where}: only a text has a form")
        self.name, self.cpp_type, self.direction, self.meaning = name, cpp_type, direction, meaning
        self.form = "" if form == "-" else form
        self.py = snake(name)
        self.codes = []  # the code groups it takes (capi/codes.txt)

    def py_type(self):
        """Its Python annotation as an input: the enums of its codes first."""
        return " | ".join([g.name for g in self.codes] + [PY_IN_TYPE[self.kind]])

    def code_note(self, each):
        """What the references add to its meaning: the codes it takes, each
        by each.format(group), in brackets."""
        if not self.codes:
            return ""
        return f" ({', '.join(each.format(g) for g in self.codes)})"

    @property
    def reads(self):
        return self.direction in ("in", "inout")

    @property
    def writes(self):
        return self.direction in ("out", "inout")

    def c_params(self):
        """The parameter as the C function takes it: one or two declarations."""
        if self.kind == "text" and self.direction == "in":
            return [f"const char* {self.name}"]
        if self.kind == "text":
            return [f"char* {self.name}", f"size_t {self.name}_size"]
        if self.direction == "in":
            return [f"{C_VALUE[self.kind]} {self.name}"]
        return [f"{C_VALUE[self.kind]}* {self.name}"]


def version(line_number, name, since):
    """since as the tuple that orders versions: "1.1" -> (1, 1)."""
    if not re.fullmatch(r"\d+(\.\d+)*", since):
        raise TableError(f"line {line_number}: {name}: since is a version such as 1 or 1.1, "
                         f"not {since}")
    return tuple(int(part) for part in since.split("."))


class Operation:
    def __init__(self, line_number, section, name, command, result, since, cxx, meaning):
        if result not in ("int", "bool"):
            raise TableError(f"line {line_number}: {name}: result is int or bool, not {result}")
        if cxx not in CXX_KINDS:
            raise TableError(f"line {line_number}: {name}: its VERDA function is one of "
                             f"{', '.join(CXX_KINDS)}, not {cxx}")
        if cxx == "forward" and result == "bool":
            raise TableError(f"line {line_number}: {name}: a bool member's VERDA function is "
                             "written by hand: a plain forward would reverse its sense")
        self.section, self.name, self.command, self.result = section, name, command, result
        self.since, self.version, self.cxx = since, version(line_number, name, since), cxx
        # "fiscal" before the meaning: it may leave a fiscal document.
        self.fiscal = meaning.startswith("fiscal ")
        if self.fiscal:
            meaning = meaning[len("fiscal "):].lstrip()
        self.meaning = meaning
        self.parameters = []
        self.doc = []
        self.py = snake(name)

    def check(self):
        names = [p.name for p in self.parameters]
        pys = [p.py for p in self.parameters]
        if len(set(names)) != len(names) or len(set(pys)) != len(pys):
            raise TableError(f"{self.name}: two parameters of one name")
        # Python's inputs: an inout parameter has a default, so none may follow it.
        defaults = False
        for p in self.parameters:
            if p.direction == "inout":
                defaults = True
            elif p.direction == "in" and defaults:
                raise TableError(f"{self.name}: an input after an inout one")

    def c_params(self):
        return ["verda_device* d"] + [c for p in self.parameters for c in p.c_params()]

    @property
    def outputs(self):
        return [p for p in self.parameters if p.writes]

    @property
    def result_class(self):
        return self.name + "Result"


class Table:
    """What capi/operations.txt holds: the sections with their introductions,
    the operations, and the C functions written by hand with their versions."""

    def __init__(self):
        self.sections, self.intro, self.operations, self.by_hand = [], {}, [], []
        self.link = {}  # section -> what a lost link leaves on the register

    def link_text(self, section):
        """What a failed exchange leaves on the register after an operation
        of the section, and how a caller finds out."""
        return " ".join(self.link[section])


def read_table():
    table, section, operation, by_hand = Table(), None, None, False
    for number, raw in enumerate(TABLE.read_text(encoding="utf-8").splitlines(), 1):
        line = raw.rstrip()
        if not line or line.lstrip().startswith("#"):
            continue
        if line == "[by hand]":
            by_hand = True
        elif by_hand:
            fields = line.split()
            if len(fields) != 2 or not re.fullmatch(r"verda_\w+", fields[0]):
                raise TableError(f"line {number}: a C function by hand: verda_name since")
            table.by_hand.append((fields[0], fields[1], version(number, *fields)))
        elif line.startswith("== "):
            section, operation = line[3:].strip(), None
            table.sections.append(section)
            table.intro[section] = []
            table.link[section] = []
        elif line == "!" or line.startswith("! "):
            if section is None or operation is not None:
                raise TableError(f"line {number}: a failed exchange's text belongs to a section, "
                                 "before its first operation")
            table.link[section].append(line[2:])
        elif line == ">" or line.startswith("> "):
            if section is None:
                raise TableError(f"line {number}: reference text before the first section")
            (operation.doc if operation else table.intro[section]).append(line[2:])
        elif line[0].isspace():
            if operation is None:
                raise TableError(f"line {number}: a parameter outside an operation")
            if operation.doc:
                raise TableError(f"line {number}: a parameter after the reference text")
            fields = line.split(None, 4)
            if len(fields) != 5:
                raise TableError(f"line {number}: Name Type Direction Form Meaning")
            operation.parameters.append(Parameter(number, *fields))
        else:
            if section is None:
                raise TableError(f"line {number}: an operation before the first section")
            fields = line.split(None, 5)
            if len(fields) != 6:
                raise TableError(f"line {number}: Name Command Result Since C++ Meaning")
            operation = Operation(number, section, *fields)
            table.operations.append(operation)
    for operation in table.operations:
        operation.check()
    for section in table.sections:
        if not table.link[section]:
            raise TableError(f"{section}: no text of what a lost link leaves (! lines)")
    names = [f"verda_{o.name}" for o in table.operations] + [f[0] for f in table.by_hand]
    duplicates = {n for n in names if names.count(n) > 1}
    if duplicates:
        raise TableError(f"described twice: {', '.join(sorted(duplicates))}")
    return table


def read_commands():
    text = COMMANDS.read_text(encoding="utf-8")
    return {m.group(1): int(m.group(2), 16)
            for m in re.finditer(r"^\s*(\w+)\s*=\s*(0x[0-9A-Fa-f]+)", text, re.M)}


def wrap(head, items, tail, indent=None):
    """head + items joined by ", " + tail, broken as clang-format breaks a
    declaration or call: as many items a line as fit, the next lines aligned
    under the first item."""
    indent = len(head) if indent is None else indent
    lines, line = [], head
    for i, item in enumerate(items):
        piece = item + ("," if i < len(items) - 1 else tail)
        separator = "" if line == head else " "
        if line != head and len(line) + 1 + len(piece) > WIDTH:
            lines.append(line)
            line = " " * indent + piece
        else:
            line += separator + piece
    if not items:
        line += tail
    lines.append(line)
    return "\n".join(lines)


def c_string(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


# --- capi/verda.h -----------------------------------------------------------

def comment(text):
    """A C comment of text, its lines within the width."""
    words, lines, line = text.split(), [], "/*"
    for word in words:
        if len(line) + 1 + len(word) + 3 > WIDTH:
            lines.append(line)
            line = "  "
        line += " " + word
    lines.append(line + " */")
    return "\n".join(lines)


def header_block(sections, operations):
    out = []
    for section in sections:
        out.append(f"/* {section} */\n")
        for op in (o for o in operations if o.section == section):
            out.append(comment(op.meaning))
            out.append(wrap(f"int verda_{op.name}(", op.c_params(), ");"))
            out.append("")
    return "\n".join(out)


# --- capi/OperationFunctions.cpp -------------------------------------------

def wrapper(op):
    """The C function of op over its VR35 member."""
    lines = [wrap(f"int verda_{op.name}(", op.c_params(), ") {")]
    pointers = [p.name for p in op.parameters if p.kind == "text" or p.writes]
    body = "    "
    if pointers:
        check = wrap("    if (!capi::given(", pointers, ")) return VERDA_NULL_ARGUMENT;")
        if "\n" in check:
            check = wrap("    if (!capi::given(", pointers, "))") + "\n        return VERDA_NULL_ARGUMENT;"
        lines.append(check)
    texts_in = [p for p in op.parameters if p.kind == "text" and p.reads]
    texts_out = [p for p in op.parameters if p.kind == "text" and p.writes]
    arguments = []
    for p in op.parameters:
        if p.kind == "text":
            arguments.append(p.name + "_")
        elif p.writes:
            arguments.append("*" + p.name)
        else:
            arguments.append(p.name)
    call = f"device.{op.name}("
    if not texts_in and not texts_out:
        if op.result == "bool":
            lines.append(f"    return capi::run(d, [&](VR35& device) -> int {{")
            lines.append(f"        return {call}) ? VERDA_OK : device.errorCode;")
            lines.append("    });")
        else:
            single = wrap(f"    return capi::run(d, [&](VR35& device) -> int {{ return {call}",
                          arguments, "); });")
            if "\n" not in single:
                lines.append(single)
            else:
                lines.append("    return capi::run(d, [&](VR35& device) -> int {")
                lines.append(wrap(f"        return {call}", arguments, ");"))
                lines.append("    });")
        lines.append("}")
        return "\n".join(lines)
    lines.append("    return capi::run(d, [&](VR35& device) -> int {")
    locals_ = [p.name + "_" for p in op.parameters if p.kind == "text"]
    lines.append(wrap("        std::string ", locals_, ";"))
    if texts_in:
        lines.append("        capi::Inputs in;")
        for p in texts_in:
            lines.append(f"        in.text({p.name}, {FORMS[p.in_form]}, {p.name}_);")
        lines.append("        if (in.failed()) return in.code();")
    for p in op.parameters:
        if p.direction == "inout" and p.kind == "text":
            lines.append(f"        const std::string {p.name}_before = {p.name}_;")
    if texts_out:
        lines.append(wrap(f"        capi::Result result({call}", arguments, "));"))
        for p in texts_out:
            if p.direction == "inout":
                lines.append(wrap("        result.inout(",
                                  [f"{p.name}_before", f"{p.name}_", FORMS[p.out_form], p.name,
                                   f"{p.name}_size"], ");"))
            else:
                lines.append(wrap("        result.text(",
                                  [f"{p.name}_", FORMS[p.out_form], p.name, f"{p.name}_size"],
                                  ");"))
        lines.append("        return result.code();")
    else:
        lines.append(wrap(f"        return {call}", arguments, ");"))
    lines.append("    });")
    lines.append("}")
    return "\n".join(lines)


def parameter_list(op):
    if not op.parameters:
        return []
    lines = [f"const verda_parameter k{op.name}[] = {{"]
    for p in op.parameters:
        fields = [c_string(p.name), c_string(p.cpp_type), ENUM[p.kind], DIRECTION[p.direction],
                  c_string(p.form), c_string(p.meaning)]
        lines.append(wrap("    {", fields, "},", indent=5))
    lines.append("};")
    return lines


def generic_call(op):
    """call<Name>: the values of verda_call to the C function and back. Numeric
    outputs start at 0, so that what the member leaves untouched comes back 0."""
    values = " v" if op.parameters else ""
    lines = [f"int call{op.name}(verda_device* d, verda_value*{values}) {{"]
    arguments, back = ["d"], []
    for i, p in enumerate(op.parameters):
        value = f"v[{i}]"
        if p.kind == "text":
            arguments.append(f"{value}.text")
            if p.writes:
                arguments.append(f"{value}.text_size")
            continue
        local = f"{p.name}_"
        c_type = C_VALUE[p.kind]
        if p.kind == "double" and p.direction == "in":
            lines.append(f"    const double {local} = {value}.number;")
        elif p.reads:
            lines.append(f"    {c_type} {local};")
            lines.append(f"    if (!capi::narrow({value}, {local})) return VERDA_INVALID_ARGUMENT;")
        else:
            lines.append(f"    {c_type} {local} = {{}};")
        arguments.append(("&" if p.writes else "") + local)
        if p.writes:
            back.append(f"    capi::widen({local}, {value});")
    lines.append(wrap(f"    const int result = verda_{op.name}(", arguments, ");"))
    lines.extend(back)
    lines.append("    return result;")
    lines.append("}")
    return "\n".join(lines)


def operations_cpp(operations, commands):
    out = ["// Generated by capi/generate.py from capi/operations.txt: do not edit.",
           "//",
           "// The C functions of the device operations, each over its VR35 member; the",
           "// list of the operations; and verda_call, which runs one by name.",
           "",
           "// The generator lays this file out; clang-format would move its lines about.",
           "// clang-format off",
           "",
           "#include <cstring>",
           "#include <string>",
           "",
           '#include "capi/Wrapper.h"',
           '#include "wire/Command.h"',
           "",
           "using capi::Form;",
           "",
           'extern "C" {',
           ""]
    for op in operations:
        out.append(wrapper(op))
        out.append("")
    out.append('}  // extern "C"')
    out.append("")
    out.append("namespace {")
    out.append("")
    for op in operations:
        block = parameter_list(op)
        if block:
            out.extend(block)
            out.append("")
    out.append("// The command of each operation: a wire::Command entry, so that a wrong name")
    out.append("// in the table does not build.")
    out.append("const verda_operation kOperations[] = {")
    for op in operations:
        if op.command == "-":
            command, number = '""', "0"
        else:
            if op.command not in commands:
                raise TableError(f"{op.name}: no command {op.command} in wire/Command.h")
            command = c_string(op.command)
            number = f"wire::number(wire::Command::{op.command})"
        fields = [c_string(op.name), command, number, c_string(op.meaning),
                  str(len(op.parameters)), f"k{op.name}" if op.parameters else "nullptr",
                  "1" if op.fiscal else "0"]
        out.append(wrap("    {", fields, "},", indent=5))
    out.append("};")
    out.append("")
    for op in operations:
        out.append(generic_call(op))
        out.append("")
    out.append("using Call = int (*)(verda_device*, verda_value*);")
    out.append("")
    out.append("// In the order of kOperations.")
    out.append("const Call kCalls[] = {")
    out.append(wrap("    ", [f"call{op.name}" for op in operations], ",", indent=4))
    out.append("};")
    out.append("")
    out.append("const std::size_t kCount = sizeof kOperations / sizeof kOperations[0];")
    out.append('static_assert(sizeof kCalls / sizeof kCalls[0] == kCount, "one call each");')
    out.append("")
    out.append("}  // namespace")
    out.append("")
    out.append('extern "C" {')
    out.append("")
    out.append(CALL_FUNCTIONS)
    out.append('}  // extern "C"')
    out.append("")
    out.append("// clang-format on")
    return "\n".join(out) + "\n"


CALL_FUNCTIONS = """\
size_t verda_operation_count(void) {
    return kCount;
}

const verda_operation* verda_operation_at(size_t index) {
    return index < kCount ? &kOperations[index] : nullptr;
}

const verda_operation* verda_find_operation(const char* name) {
    if (name == nullptr) return nullptr;
    for (const verda_operation& operation : kOperations)
        if (std::strcmp(operation.name, name) == 0) return &operation;
    return nullptr;
}

int verda_call(verda_device* d, const char* name, verda_value* values, size_t count) {
    const verda_operation* operation = verda_find_operation(name);
    if (operation == nullptr) return name == nullptr ? VERDA_NULL_ARGUMENT : VERDA_UNKNOWN_OPERATION;
    if (count != operation->parameter_count) return VERDA_INVALID_ARGUMENT;
    if (values == nullptr && count > 0) return VERDA_NULL_ARGUMENT;
    return kCalls[operation - kOperations](d, values);
}
"""


# --- tests/capi/OperationCalls.cpp -----------------------------------------

# The field of tests/capi/OperationCalls.h's Argument that holds a kind.
ARGUMENT_FIELD = {"int": "integer", "long": "wide", "double": "number", "char": "byte",
                  "bool": "flag", "text": "text"}


def test_calls(operations):
    """Each operation's C function and VR35 member over one Argument array,
    the parameters taken in the member's order both times."""
    out = ["// Generated by capi/generate.py from capi/operations.txt: do not edit.",
           "//",
           "// Each operation's C function and VR35 member, called with the same",
           "// arguments (tests/capi/OperationCalls.h).",
           "",
           "// clang-format off",
           "",
           '#include "OperationCalls.h"',
           "",
           "namespace operation_calls {",
           "",
           "namespace {",
           ""]
    for op in operations:
        a = " a" if op.parameters else ""
        function, member = ["d"], []
        for i, p in enumerate(op.parameters):
            field = f"a[{i}].{ARGUMENT_FIELD[p.kind]}"
            member.append(field)
            if p.kind == "text" and p.direction == "in":
                function.append(f"a[{i}].input()")
            elif p.kind == "text":
                function += [f"a[{i}].output()", f"a[{i}].buffer.size()"]
            elif p.writes:
                function.append(f"a[{i}].address({field})")
            else:
                function.append(field)
        out.append(f"int function{op.name}(verda_device* d, Argument*{a}) {{")
        out.append(wrap(f"    return verda_{op.name}(", function, ");"))
        out.append("}")
        out.append("")
        out.append(f"int member{op.name}(VR35& device, Argument*{a}) {{")
        tail = ") ? 1 : 0;" if op.result == "bool" else ");"
        out.append(wrap(f"    return device.{op.name}(", member, tail))
        out.append("}")
        out.append("")
    out.append("}  // namespace")
    out.append("")
    out.append("const Calls kCalls[] = {")
    for op in operations:
        boolean = "true" if op.result == "bool" else "false"
        out.append(f'    {{"{op.name}", function{op.name}, member{op.name}, {boolean}}},')
    out.append("};")
    out.append("const std::size_t kCallCount = sizeof kCalls / sizeof kCalls[0];")
    out.append("")
    out.append("}  // namespace operation_calls")
    out.append("")
    out.append("// clang-format on")
    return "\n".join(out) + "\n"


# --- python/verda/_operations.py -------------------------------------------

def py_wrap(head, items, tail, indent=None):
    return wrap(head, items, tail, indent)


def read_codes():
    """The result codes and VERDA_TEXT_MAX, as the C headers define them."""
    text = (ROOT / "wire" / "ResultCodes.h").read_text(encoding="utf-8")
    text += (ROOT / "capi" / "verda.h").read_text(encoding="utf-8")
    codes = []
    for block in re.findall(r"enum verda_(?:result|interface)_code \{(.*?)\}", text, re.S):
        codes += [(m.group(1), int(m.group(2)))
                  for m in re.finditer(r"^\s*VERDA_(\w+)\s*=\s*(-?\d+)", block, re.M)]
    limit = re.search(r"^#define VERDA_TEXT_MAX (\d+)", text, re.M)
    if not codes or limit is None:
        raise TableError("no result codes or VERDA_TEXT_MAX in the C headers")
    return codes + [("TEXT_MAX", int(limit.group(1)))]


def python_module(table):
    operations = table.operations
    out = ['# Generated by capi/generate.py from capi/operations.txt: do not edit.',
           '"""The register\'s operations as methods of verda.Device, and their results."""',
           "",
           "from __future__ import annotations",
           "",
           "from typing import NamedTuple",
           "",
           "from ._call import Operation, Parameter"]
    taken = sorted({g.name for op in operations for p in op.parameters if p.reads for g in p.codes})
    if taken:
        out.append(wrap("from ._codes import (", taken, ")  # noqa: F401 (annotations)"))
    out += ["",
           "# The result codes (wire/ResultCodes.h, capi/verda.h) and the size of a text output",
           "# that is never cut (VERDA_TEXT_MAX)."]
    out.extend(f"{name} = {value}" for name, value in read_codes())
    for op in operations:
        if not op.outputs:
            continue
        out.append("")
        out.append("")
        out.append(f"class {op.result_class}(NamedTuple):")
        out.append(f'    """The outputs of Device.{op.py}."""')
        out.append("")
        for p in op.outputs:
            out.append(f"    {p.py}: {PY_TYPE[p.kind]}")
            out.append(f'    """{py_doc(p.meaning + p.code_note("verda.{0.name}"))}"""')
    out.append("")
    out.append("")
    out.append("# Each operation: its C function, its parameters (name, kind, direction),")
    out.append("# and the class of its outputs.")
    for op in operations:
        result = op.result_class if op.outputs else "None"
        if not op.parameters:
            out.append(f'_{op.py.upper()} = Operation("verda_{op.name}", (), {result})')
            continue
        out.append(f'_{op.py.upper()} = Operation("verda_{op.name}", (')
        for p in op.parameters:
            out.append(f'    Parameter("{p.py}", "{p.kind}", "{p.direction}"),')
        out.append(f"), {result})")
    out.append("")
    out.append("")
    out.append("class Operations:")
    out.append('    """Every operation of the register, a method each (see verda.Device)."""')
    out.append("")
    out.append("    __slots__ = ()")
    out.append("")
    out.append("    def _call(self, operation: Operation, arguments: tuple):  # Device's")
    out.append("        raise NotImplementedError")
    for op in operations:
        inputs = [p for p in op.parameters if p.reads]
        signature = ["self"]
        for p in inputs:
            default = ""
            if p.direction == "inout":
                default = ' = ""' if p.kind == "text" else " = 0"
            signature.append(f"{p.py}: {p.py_type()}{default}")
        result = op.result_class if op.outputs else "None"
        out.append("")
        out.append(wrap(f"    def {op.py}(", signature, f") -> {result}:"))
        doc = fill('        """', op.meaning, "        ") + [""]
        doc += fill("        ", f"The register's operation {op.name} (C: verda_{op.name}).",
                    "        ")
        if inputs:
            doc += ["", "        Args:"]
            for p in inputs:
                doc += fill(f"            {p.py}: ", p.meaning + p.code_note("verda.{0.name}"),
                            "                ")
        if op.outputs:
            doc.append("")
            doc += fill(f"        Returns: ", f"{op.result_class}, with " +
                        ", ".join(p.py for p in op.outputs) + ".", "            ")
        doc += ["", "        Raises:"]
        doc += fill("            LinkError: ", "the exchange failed (100001). " +
                    pythonic(table.link_text(op.section), operations), "                ")
        doc += fill("            DeviceError: ", "the register refused it.", "                ")
        doc.append('        """')
        out.extend(line.rstrip() for line in doc)
        arguments = [p.py for p in inputs]
        if len(arguments) == 1:
            arguments[0] += ","
        out.append(wrap(f"        return self._call(_{op.py.upper()}, (", arguments, "))"))
    return "\n".join(out) + "\n"


def pythonic(text, operations):
    """Reference text for a docstring: an operation's or a parameter's name
    in backquotes as Python calls it (`GetStatusShift` -> get_status_shift,
    `DocNumber` -> doc_number), other backquotes dropped."""
    methods = {op.name: op.py for op in operations}
    parameters = {p.name: p.py for op in operations for p in op.parameters}

    def name(match):
        word = match.group(1)
        return methods.get(word) or parameters.get(word) or word

    return re.sub(r"`([^`]*)`", name, text)


def fill(head, text, indent):
    """Docstring lines: head and text, wrapped within the width."""
    return textwrap.wrap(py_doc(text), WIDTH, initial_indent=head, subsequent_indent=indent,
                         break_on_hyphens=False) or [head.rstrip()]


def py_doc(text):
    return text.replace("\\", "\\\\").replace('"""', '\\"\\"\\"')


# --- docs/c-api.md ----------------------------------------------------------

def markdown(table, commands):
    out = []
    operations = table.operations
    first = min(op.version for op in operations)
    for section in table.sections:
        out.append(f"### {section}")
        out.append("")
        out.append(f"**A failed exchange** (`VERDA_EXCHANGE_FAILED`, Python `verda.LinkError`): "
                   f"{table.link_text(section)}")
        out.append("")
        for op in (o for o in operations if o.section == section):
            out.append(f"#### verda_{op.name}")
            out.append("")
            if op.command == "-":
                command = "No command of its own."
            else:
                command = f"Command 0x{commands[op.command]:02X} (`{op.command}`)."
            added = f" Added in `VERDA_{op.since}`." if op.version != first else ""
            fiscal = " It may leave a fiscal document." if op.fiscal else ""
            out.append(f"{op.meaning} {command}{fiscal} Python: `Device.{op.py}`.{added}")
            out.append("")
            out.append("```c")
            out.append(wrap(f"int verda_{op.name}(", op.c_params(), ");"))
            out.append("```")
            out.append("")
            if op.parameters:
                out.append("| Parameter | Python | C++ type | Direction | Text form | Meaning |")
                out.append("|---|---|---|---|---|---|")
                for p in op.parameters:
                    form = f"`{p.form}`" if p.form else ""
                    out.append(f"| `{p.name}` | `{p.py}` | `{p.cpp_type}` | {p.direction} | "
                               f"{form} | {p.meaning.replace('|', '/')}"
                               f"{p.code_note('[`enum {0.c_enum}`](codes.md#{0.anchor})')} |")
                out.append("")
    return "\n".join(out)


# --- cmake/exports.map ------------------------------------------------------

def check_by_hand(table):
    """Every C function that capi/verda.h declares outside its generated lines
    has its version at the end of the table, and each there is declared."""
    text = C_HEADER.read_text(encoding="utf-8")
    start, stop = text.find(HEADER_BEGIN), text.find(HEADER_END)
    if start < 0 or stop < start:
        raise TableError(f"capi/verda.h: no lines {HEADER_BEGIN!r} ... {HEADER_END!r}")
    hand = re.sub(r"/\*.*?\*/", "", text[:start] + text[stop:], flags=re.S)
    declared = set(re.findall(r"^(?:const )?[a-z_]+[ *]+(verda_\w+)\(", hand, re.M))
    listed = {name for name, _, _ in table.by_hand}
    if declared - listed:
        raise TableError("declared in capi/verda.h but without a version under [by hand]: " +
                         ", ".join(sorted(declared - listed)))
    if listed - declared:
        raise TableError("under [by hand] but not declared in capi/verda.h: " +
                         ", ".join(sorted(listed - declared)))


def version_nodes(table):
    """The linker's version nodes of the C functions: one per version, each
    after the one before it, so that a program's reference to verda_X@VERDA_N
    binds to the function that version has."""
    nodes = {}
    for op in table.operations:
        nodes.setdefault(op.version, (op.since, []))[1].append(f"verda_{op.name}")
    for name, since, key in table.by_hand:
        nodes.setdefault(key, (since, []))[1].append(name)
    out, previous = [], None
    for key in sorted(nodes):
        since, names = nodes[key]
        out.append(f"VERDA_{since} {{")
        out.append("  global:")
        out.extend(f"    {name};" for name in sorted(names))
        out.append(f"}} VERDA_{previous};" if previous else "};")
        previous = since
    return "\n".join(out)


# --- api/Forwards.cpp -------------------------------------------------------

def forwards_cpp(operations):
    """The VERDA functions that hand their arguments to the member of their
    name and keep its result. Each is defined with its qualified name, so that
    one which api/CorteliaVERDA.h does not declare alike does not build."""
    out = ["// Generated by capi/generate.py from capi/operations.txt: do not edit.",
           "//",
           "// The exported functions of VERDA that only forward: each hands its arguments",
           "// to the driver's member of its name and keeps the result (api/Globals.h).",
           "// Those that do more are written by hand: api/Irregular.cpp, and the",
           "// lifecycle in api/CorteliaVERDA.cpp.",
           "",
           "// The generator lays this file out; clang-format would move its lines about.",
           "// clang-format off",
           "",
           "#include <string>",
           "",
           '#include "api/CorteliaVERDA.h"',
           '#include "api/Globals.h"',
           '#include "device/VR35.h"',
           ""]
    for op in operations:
        if op.cxx != "forward":
            continue
        out.append(wrap(f"bool VERDA::{op.name}(",
                        [f"{p.cpp_type} {p.name}" for p in op.parameters], ") {"))
        out.append(wrap(f"    return verdaResult(vr35->{op.name}(",
                        [p.name for p in op.parameters], "));"))
        out.append("}")
        out.append("")
    out.append("// clang-format on")
    return "\n".join(out) + "\n"


# --- docs/api.md ------------------------------------------------------------

def api_declarations():
    """The functions that api/CorteliaVERDA.h declares in VERDA: name ->
    (result type, parameters as written)."""
    text = re.sub(r"//[^\n]*", "", API_HEADER.read_text(encoding="utf-8"))
    body = text[text.find("namespace VERDA {"):]
    return {m.group(2): (m.group(1), [" ".join(p.split()) for p in m.group(3).split(",")
                                      if p.strip()])
            for m in re.finditer(r"^(\w+) (\w+)\(([^)]*)\);", body, re.M)}


def api_reference(table):
    """The entries of the VERDA functions, by section: the declaration as the
    header has it, then the operation's reference text."""
    declared = api_declarations()
    out = []
    for section in table.sections:
        operations = [o for o in table.operations if o.section == section]
        for op in operations:
            if op.cxx == "-" and op.name in declared:
                raise TableError(f"{op.name}: api/CorteliaVERDA.h declares it, the table "
                                 "gives it no VERDA function")
            if op.cxx != "-" and op.name not in declared:
                raise TableError(f"{op.name}: its VERDA function ({op.cxx}) is not declared "
                                 "in api/CorteliaVERDA.h")
        operations = [o for o in operations if o.cxx != "-"]
        if not operations:
            continue
        out += [f"## {section}", ""]
        if table.intro[section]:
            out += table.intro[section] + [""]
        out += [f"**A failed exchange** (100001): {table.link_text(section)}", ""]
        for op in operations:
            result, parameters = declared[op.name]
            out += [f"### VERDA::{op.name}", "", "```cpp",
                    wrap(f"{result} {op.name}(", parameters, ");"), "```", ""]
            out += (op.doc or [op.meaning]) + [""]
    return "\n".join(out)


# --- files ------------------------------------------------------------------

def between(path, begin, end, block, text=None):
    """path's text (or text, when given) with the lines between begin and end
    replaced by block."""
    text = path.read_text(encoding="utf-8") if text is None else text
    start, stop = text.find(begin), text.find(end)
    if start < 0 or stop < start:
        raise TableError(f"{path.relative_to(ROOT)}: no lines {begin!r} ... {end!r}")
    head = text[:start + len(begin)]
    return head + "\n" + block.rstrip("\n") + "\n" + text[stop:]


HEADER_BEGIN = "/* BEGIN GENERATED OPERATIONS (capi/generate.py from capi/operations.txt) */"
HEADER_END = "/* END GENERATED OPERATIONS */"


def outputs():
    table = read_table()
    check_by_hand(table)
    sections, operations = table.sections, table.operations
    commands = read_commands()
    exports = ROOT / "cmake" / "exports.map"
    c_reference = ROOT / "docs" / "c-api.md"
    api_reference_file = ROOT / "docs" / "api.md"
    groups = codes.read_codes()
    for (operation, parameter), taken in codes.check_takes(groups, operations).items():
        next(p for o in operations if o.name == operation
             for p in o.parameters if p.name == parameter).codes = taken
    header = between(C_HEADER, HEADER_BEGIN, HEADER_END, "\n" + header_block(sections, operations))
    return {
        ROOT / "capi" / "OperationFunctions.cpp": operations_cpp(operations, commands),
        C_HEADER: between(C_HEADER, codes.HEADER_BEGIN, codes.HEADER_END,
                          "\n" + codes.header_block(groups), header),
        ROOT / "python" / "verda" / "_codes.py": codes.python_module(groups),
        ROOT / "common" / "Codes.h": codes.programs_header(groups),
        codes.OPENAPI: codes.openapi(groups),
        codes.DOCS: between(codes.DOCS, codes.DOCS_BEGIN, codes.DOCS_END,
                            "\n" + codes.markdown(groups) + "\n"),
        exports: between(exports, "/* BEGIN GENERATED VERSION NODES (capi/generate.py from "
                         "capi/operations.txt) */", "/* END GENERATED VERSION NODES */",
                         version_nodes(table)),
        ROOT / "api" / "Forwards.cpp": forwards_cpp(operations),
        ROOT / "python" / "verda" / "_operations.py": python_module(table),
        ROOT / "tests" / "capi" / "OperationCalls.cpp": test_calls(operations),
        c_reference: between(c_reference, "<!-- BEGIN GENERATED REFERENCE -->",
                             "<!-- END GENERATED REFERENCE -->",
                             "\n" + markdown(table, commands) + "\n"),
        api_reference_file: between(api_reference_file, "<!-- BEGIN GENERATED REFERENCE "
                                    "(capi/generate.py from capi/operations.txt) -->",
                                    "<!-- END GENERATED REFERENCE -->",
                                    "\n" + api_reference(table) + "\n"),
    }


def main(argv):
    check = argv[1:] == ["--check"]
    if argv[1:] and not check:
        print(__doc__, file=sys.stderr)
        return 2
    try:
        files = outputs()
    except TableError as error:
        print(f"capi/generate.py: {TABLE.relative_to(ROOT)}: {error}", file=sys.stderr)
        return 1
    except codes.CodeError as error:
        print(f"capi/generate.py: {codes.TABLE.relative_to(ROOT)}: {error}", file=sys.stderr)
        return 1
    stale = [path for path, text in files.items()
             if not path.exists() or path.read_text(encoding="utf-8") != text]
    if check:
        for path in stale:
            print(f"capi/generate.py: {path.relative_to(ROOT)} is not what "
                  f"{TABLE.relative_to(ROOT)} makes: run capi/generate.py", file=sys.stderr)
        return 1 if stale else 0
    for path in stale:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(files[path], encoding="utf-8")
        print(f"wrote {path.relative_to(ROOT)}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
