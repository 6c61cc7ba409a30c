"""Finds the places of the library's sources that can be changed, and writes a copy of the sources in which each change
waits behind a switch (Mutant.h)."""

import functools
import glob
import os
import re
import subprocess
from dataclasses import dataclass, field

import clang.cindex
from clang.cindex import CursorKind as Kind

FOLDERS = ("platform", "settings", "logging", "service", "api")
# Interfaces that the tests read, too: a changed constant there changes both sides alike.
LEFT_OUT = ("api/kal.h", "comc/comc.h")

FLIPPED = {"==": ["!="], "!=": ["=="], "<": ["<=", ">="], ">": [">=", "<="], "<=": ["<", ">"], ">=": [">", "<"]}
SWAPPED = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "&",
           "&&": "||", "||": "&&", "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=", ">>=": "<<=", "<<=": ">>="}
EXPRESSIONS = {Kind.CALL_EXPR, Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR, Kind.UNARY_OPERATOR,
               Kind.UNEXPOSED_EXPR, Kind.CXX_STATIC_CAST_EXPR, Kind.CXX_DELETE_EXPR, Kind.CXX_THROW_EXPR}
FUNCTIONS = {Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.FUNCTION_TEMPLATE, Kind.CONSTRUCTOR, Kind.DESTRUCTOR,
             Kind.CONVERSION_FUNCTION}


@dataclass
class Mutant:
    """One change: `kind` and `change` say it in words, `range` is where it stands in the source."""
    file: str
    line: int
    text: str  # the source line, trimmed
    kind: str
    change: str
    range: tuple
    replacement: str = ""
    form: str = "expression"  # or "statement", "label"
    number: int = 0
    is_constexpr: bool = False
    output: tuple = (0, 0)  # line and columns in the copy

    @property
    def key(self):
        return f"{self.file} | {self.text} | {self.kind} {self.change}"


@dataclass
class Source:
    path: str
    text: str
    mutants: list = field(default_factory=list)
    constants: list = field(default_factory=list)  # ranges of the word constexpr that must go
    names: dict = field(default_factory=dict)  # of these constants, by range


def one_line(text):
    return re.sub(r"\s+", " ", text).strip()


class Finder:
    """Walks one source's syntax tree."""

    def __init__(self, root, path, unit, text):
        self.path = path
        self.file = os.path.join(root, path)
        self.text = text
        self.lines = text.split("\n")
        self.source = Source(path, text)
        self.seen = set()
        self.variables = []
        for cursor in unit.cursor.get_children():
            if self.is_here(cursor):
                self.visit(cursor, None, False)

    def is_here(self, cursor):
        location = cursor.extent.start
        return location.file is not None and os.path.realpath(location.file.name) == os.path.realpath(self.file)

    def range_of(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def part(self, bounds):
        return self.text[bounds[0]:bounds[1]]

    def add(self, bounds, kind, change, replacement, form="expression", is_constexpr=False):
        if "//" in re.sub(r'"[^"]*"', "", replacement) or "#" in self.part(bounds):
            return
        line = self.text.count("\n", 0, bounds[0])
        key = (bounds, replacement, form)
        if key in self.seen:
            return
        self.seen.add(key)
        self.source.mutants.append(Mutant(self.path, line + 1, self.lines[line].strip(), kind, change, bounds,
                                          one_line(replacement), form, 0, is_constexpr))

    def visit(self, cursor, parent, is_constexpr):
        kind = cursor.kind
        if kind in (Kind.STATIC_ASSERT, Kind.ENUM_DECL, Kind.TEMPLATE_TYPE_PARAMETER, Kind.TYPE_ALIAS_DECL):
            return
        if not self.is_here(cursor) and kind != Kind.NAMESPACE:
            return
        children = list(cursor.get_children())
        bounds = self.range_of(cursor)
        if kind in FUNCTIONS:
            body = next((child for child in children if child.kind == Kind.COMPOUND_STMT), None)
            if body is not None:
                head = self.text[bounds[0]:body.extent.start.offset]
                is_constexpr = bool(re.search(r"\bconstexpr\b", head))
        constant = None
        if kind in (Kind.VAR_DECL, Kind.FIELD_DECL):
            match = re.match(r"(?:[\w:\[\]]+\s+)*?(constexpr)\s", self.part(bounds))
            if match:
                constant = (bounds[0] + match.start(1), bounds[0] + match.end(1))
        before = len(self.source.mutants)

        self.look(cursor, parent, children, bounds, is_constexpr)
        visited = children
        if kind == Kind.CASE_STMT:
            visited = children[1:]
        for child in visited:
            self.visit(child, cursor, is_constexpr)
        if constant and (len(self.source.mutants) > before or "#include" in self.part(bounds)):
            self.source.constants.append(constant)
            self.source.names[constant] = cursor.spelling

    def look(self, cursor, parent, children, bounds, is_constexpr):
        kind = cursor.kind
        text = self.part(bounds)
        options = {"is_constexpr": is_constexpr}
        if kind == Kind.INTEGER_LITERAL:
            if re.fullmatch(r"(0[xX][0-9a-fA-F]+|\d+)[uUlL]*", text):
                self.add(bounds, "constant", f"{text} -> {text} + 1", f"{text} + 1", **options)
                if re.fullmatch(r"1[uU]?", text):
                    self.add(bounds, "constant", "1 -> 0", text.replace("1", "0"), **options)
            elif re.fullmatch(r"[A-Z][A-Z0-9_]+", text) and text not in ("NULL", "TRUE", "FALSE"):
                self.add(bounds, "constant", f"{text} -> {text} + 1", f"{text} + 1", **options)
        elif kind == Kind.CXX_BOOL_LITERAL_EXPR and text in ("true", "false"):
            other = "false" if text == "true" else "true"
            self.add(bounds, "constant", f"{text} -> {other}", other, **options)
        elif kind == Kind.STRING_LITERAL and re.fullmatch(r'"(?:[^"\\]|\\.)*"', text):
            self.add(bounds, "text", f"{text} -> longer", text[:-1] + '~"', **options)
        elif kind == Kind.CHARACTER_LITERAL and text.startswith("'"):
            self.add(bounds, "constant", f"{text} -> next", f"static_cast<char>({text} + 1)", **options)
        elif kind == Kind.BINARY_OPERATOR or kind == Kind.COMPOUND_ASSIGNMENT_OPERATOR:
            if len(children) == 2:
                self.look_at_operator(bounds, self.range_of(children[0]), self.range_of(children[1]), options)
        elif kind == Kind.CALL_EXPR and re.fullmatch(r"operator(==|!=|<|>|<=|>=|&&|\|\|)", cursor.spelling):
            if len(children) == 3:
                self.look_at_operator(bounds, self.range_of(children[0]), self.range_of(children[2]), options)
        elif kind == Kind.UNARY_OPERATOR:
            if text.startswith("!"):
                self.add(bounds, "condition", f"{one_line(text)} -> without !", f"bool({text[1:]})", **options)
            for step, other in (("++", "--"), ("--", "++")):
                if text.startswith(step):
                    self.add(bounds, "step", f"{one_line(text)} -> {other}", other + text[2:], **options)
        if kind in (Kind.IF_STMT, Kind.WHILE_STMT):
            self.look_at_condition(children, options)
        elif kind == Kind.CONDITIONAL_OPERATOR and children:
            self.negate(self.range_of(children[0]), options)
        elif kind == Kind.SWITCH_STMT:
            self.look_at_labels(children, options)
        elif kind == Kind.COMPOUND_STMT:
            self.look_at_statements(children, parent, options)
        elif kind == Kind.RETURN_STMT and children:
            self.look_at_result(children[0], options)

    def look_at_operator(self, bounds, left, right, options):
        between = self.text[left[1]:right[0]]
        operator = re.sub(r"//.*|/\*.*?\*/", "", between).strip().rstrip("(").strip().lstrip(")").strip()
        place = between.find(operator) + left[1]
        if not operator or left[0] < bounds[0] or right[1] > bounds[1]:
            return
        others = FLIPPED.get(operator) or ([SWAPPED[operator]] if operator in SWAPPED else [])
        for other in others:
            replacement = self.text[bounds[0]:place] + other + self.text[place + len(operator):bounds[1]]
            kind = "comparison" if operator in FLIPPED else "operator"
            self.add(bounds, kind, f"{one_line(self.part(bounds))}: {operator} -> {other}", replacement, **options)
        if operator in ("&&", "||"):
            for side in (left, right):
                dropped = self.part(right if side is left else left)
                self.add(bounds, "condition", f"without {one_line(self.part(side))}", f"bool({dropped})", **options)

    def negate(self, bounds, options):
        text = self.part(bounds)
        stripped = re.sub(r"\([^()]*\)", "", text)
        if not text or text.startswith("!") or re.search(r"==|!=|[<>]=?|&&|\|\|", stripped):
            return  # changed elsewhere
        self.add(bounds, "condition", f"{one_line(text)} -> negated", f"!bool({text})", **options)

    def look_at_condition(self, children, options):
        first = children[0] if children else None
        if first is None:
            return
        if first.kind in (Kind.VAR_DECL, Kind.DECL_STMT):
            declared = first if first.kind == Kind.VAR_DECL else next(iter(first.get_children()), None)
            values = [child for child in declared.get_children() if child.kind.is_expression()] if declared else []
            if values and declared.type.spelling in ("const uint32_t", "uint32_t"):
                bounds = self.range_of(values[-1])
                call = self.part(bounds)
                self.add(bounds, "failure", f"{one_line(call)} -> never fails", f"(static_cast<void>({call}), 0u)",
                         **options)
            return
        self.negate(self.range_of(first), options)

    def look_at_labels(self, children, options):
        if len(children) < 2 or children[-1].kind != Kind.COMPOUND_STMT:
            return
        value = self.range_of(children[-2])

        def labels(cursor):
            for child in cursor.get_children():
                if child.kind == Kind.CASE_STMT:
                    parts = list(child.get_children())
                    yield self.part(self.range_of(parts[0]))
                    if len(parts) > 1 and parts[1].kind == Kind.CASE_STMT:
                        yield from labels_of(child)

        def labels_of(cursor):
            for child in cursor.get_children():
                if child.kind == Kind.CASE_STMT:
                    yield self.part(self.range_of(list(child.get_children())[0]))
                    yield from labels_of(child)

        for label in dict.fromkeys(labels(children[-1])):
            self.add(value, "label", f"without case {label}", label, "label", **options)

    def look_at_statements(self, children, parent, options):
        """Drops each statement; a return only where the function goes on behind it."""
        goes_on = parent is not None and parent.kind in (Kind.IF_STMT, Kind.FOR_STMT, Kind.WHILE_STMT,
                                                         Kind.CXX_FOR_RANGE_STMT, Kind.SWITCH_STMT)
        # Behind the last label of a switch that ends its function there is nothing to return.
        ends_function = parent is not None and parent.kind == Kind.SWITCH_STMT and \
            self.text[parent.extent.end.offset:].lstrip().startswith("}")
        for child in children:
            is_last = ends_function and child == children[-1]
            while child.kind in (Kind.CASE_STMT, Kind.DEFAULT_STMT):
                *_, child = child.get_children()
            bounds = self.range_of(child)
            text = one_line(self.part(bounds))
            if child.kind in EXPRESSIONS or child.kind == Kind.BREAK_STMT or \
                    (child.kind == Kind.RETURN_STMT and goes_on and not is_last):
                self.add(bounds, "dropped", text, f"dropped:{text}", "statement", **options)

    def look_at_result(self, result, options):
        bounds = self.range_of(result)
        text = self.part(bounds)
        name = result.type.get_canonical().spelling
        if re.fullmatch(r"[\w']+|\"[^\"]*\"|\{\}|-?\d+|.*::npos|\*this", text) and not re.fullmatch(r"[a-z]\w+", text):
            return
        if text in ("true", "false", "nullptr", "0", "1"):
            return
        stripped = re.sub(r"\([^()]*\)", "", text)
        if name == "bool":
            if not text.startswith("!") and not re.search(r"==|!=|[<>]=?|&&|\|\|", stripped):
                self.add(bounds, "result", f"{one_line(text)} -> negated", f"!bool({text})", **options)
        elif re.fullmatch(r"(const )?(unsigned )?(int|long|short|char|long long|long unsigned int)", name):
            self.add(bounds, "result", f"{one_line(text)} -> 0", f"(static_cast<void>({text}), {name.replace('const ', '')}{{}})"
                     if " " not in name.replace("const ", "") else f"(static_cast<void>({text}), 0)", **options)
        elif name.endswith("*"):
            self.add(bounds, "result", f"{one_line(text)} -> null", f"true ? nullptr : ({text})", **options)


def find_in_table(path, text):
    """The numbers and texts of a table of macro lines. Its first number is the entry's own code, not data."""
    source = Source(path, text)
    offset = 0
    for number, line in enumerate(text.split("\n"), 1):
        match = re.match(r"[A-Z_]+\((\s*\d+\s*,)?", line)
        if match:
            code = re.sub(r"//.*", "", line)
            for token in re.finditer(r'"(?:[^"\\]|\\.)*"|\b0x[0-9A-Fa-f]+u?\b|\b\d+u?\b', code[match.end():]):
                begin = offset + match.end() + token.start()
                value = token.group()
                if value.startswith('"'):
                    change, replacement = f"{value} -> longer", value[:-1] + '~"'
                else:
                    change, replacement = f"{value} -> {value} + 1", f"{value} + 1"
                source.mutants.append(Mutant(path, number, line.strip(), "table", change,
                                             (begin, begin + len(value)), replacement))
        offset += len(line) + 1
    return source


def compiler_arguments():
    compiler = "x86_64-w64-mingw32-g++-posix"
    library = os.path.dirname(subprocess.run([compiler, "-print-libgcc-file-name"], capture_output=True, text=True,
                                             check=True).stdout.strip())
    return ["--target=x86_64-w64-windows-gnu", "-x", "c++", "-std=c++20", "-DKAL_BUILDING_LIBRARY",
            "-DWIN32_LEAN_AND_MEAN", "-DNOMINMAX", "-D_WIN32_WINNT=0x0601", "-nostdinc++",
            "-isystem", f"{library}/include/c++", "-isystem", f"{library}/include/c++/x86_64-w64-mingw32",
            "-resource-dir", glob.glob("/usr/lib/llvm-14/lib/clang/*")[0], "-Wno-everything"]


def find(root):
    """Every source of the library with the mutants that can be thought of, numbered."""
    index = clang.cindex.Index.create()
    arguments = compiler_arguments() + [f"-I{root}"]
    texts = {}
    for folder in FOLDERS:
        for name in sorted(os.listdir(os.path.join(root, folder))):
            path = f"{folder}/{name}"
            if path not in LEFT_OUT and name.endswith((".cpp", ".h", ".inc")):
                # One character a byte, as the compiler counts them.
                with open(os.path.join(root, path), encoding="ascii", errors="surrogateescape") as file:
                    texts[path] = file.read()
    found = {path: find_in_table(path, text) for path, text in texts.items() if path.endswith(".inc")}
    for path in (each for each in texts if each.endswith(".cpp")):
        unit = index.parse(os.path.join(root, path), args=arguments)
        errors = [str(each) for each in unit.diagnostics if each.severity >= clang.cindex.Diagnostic.Error]
        if errors:
            raise RuntimeError(f"{path} does not parse: {errors[0]}")
        # A header is read with the first source that includes it.
        included = (os.path.relpath(each.include.name, root) for each in unit.get_includes())
        for each in [path, *(each for each in included if each in texts)]:
            if each not in found:
                found[each] = Finder(root, each, unit, texts[each]).source
    sources = [found[path] for path in texts if path in found]
    number = 0
    for source in sources:
        source.mutants.sort(key=lambda each: (each.range[0], -each.range[1]))
        for mutant in source.mutants:
            number += 1
            mutant.number = number
    return sources


def test_of(mutant):
    name = "isActiveAtRun" if mutant.is_constexpr else "isActive"
    return f"kal::mutation::{name}({mutant.number})"


class Writer:
    """Writes one source with its mutants behind switches, line by line where the original has its lines."""

    def __init__(self, source, dropped, kept_constants):
        self.text = source.text
        self.pieces = []
        self.places = []  # (mutant or constant, offset in the output, where it ends)
        self.length = 0
        groups = {}
        for mutant in source.mutants:
            if mutant.number not in dropped:
                groups.setdefault(mutant.range, []).append(mutant)
        self.groups = sorted(groups.items(), key=lambda item: (item[0][0], -item[0][1]))
        self.constants = [each for each in source.constants if each not in kept_constants]
        self.position = 0
        self.next = 0
        self.render(0, len(self.text))

    def emit(self, text):
        self.pieces.append(text)
        self.length += len(text)

    def copy(self, begin, end):
        """The original's text, without the words constexpr that must go."""
        at = begin
        for constant in self.constants:
            if begin <= constant[0] and constant[1] <= end:
                self.emit(self.text[at:constant[0]])
                start = self.length
                rest = self.text[constant[1]:]
                self.emit("" if re.match(r"\s+const\b", rest) else "const")
                self.places.append((constant, start, self.length))
                at = constant[1]
        self.emit(self.text[at:end])

    def render(self, begin, end):
        at = begin
        while self.next < len(self.groups):
            bounds, mutants = self.groups[self.next]
            if bounds[0] >= end:
                break
            self.next += 1
            if bounds[0] < at or bounds[1] > end:
                continue  # overlaps another without lying inside it
            self.copy(at, bounds[0])
            start = self.length
            self.open(mutants)
            self.render(*bounds)
            self.close(mutants)
            for mutant in mutants:
                self.places.append((mutant, start, self.length))
            at = bounds[1]
        self.copy(at, end)

    def open(self, mutants):
        expressions = [each for each in mutants if each.form == "expression"]
        for mutant in (each for each in mutants if each.form == "statement"):
            self.emit(f"if ({test_of(mutant)}) {{}} else ")
        if expressions:
            self.emit("(")
            for mutant in expressions:
                self.emit(f"{test_of(mutant)} ? ({mutant.replacement}) : ")
        for mutant in (each for each in mutants if each.form == "label"):
            self.emit(f"kal::mutation::withoutLabel({test_of(mutant)}, ")
        if expressions:
            self.emit("(")

    def close(self, mutants):
        expressions = [each for each in mutants if each.form == "expression"]
        if expressions:
            self.emit(")")
        for mutant in reversed([each for each in mutants if each.form == "label"]):
            self.emit(f", {mutant.replacement})")
        if expressions:
            self.emit(")")

    @functools.cached_property
    def output(self):
        return "".join(self.pieces)

    @functools.cached_property
    def line_ends(self):
        return [match.start() for match in re.finditer("\n", self.output)] + [len(self.output)]

    def line_range(self, line):
        """Where a line of the output, counted from 1, begins and ends."""
        return (self.line_ends[line - 2] + 1 if line > 1 else 0), self.line_ends[min(line, len(self.line_ends)) - 1]
