#!/usr/bin/python3
"""Rewrites C++ sources so that each of many small faults can be switched on when the program runs.

  mutate.py BUILD OUT FILE...

BUILD holds compile_commands.json of clang; the FILEs are named from the folder of the project, and
are written below OUT with the faults in them. OUT/faults.json lists these: number, place, what is
done. A program made of them has fault N when VEMO_FAULT is N; without it, it is as ever.

Faults: a condition that always or never holds, a bound that is one off, a number one more, a yes
that is a no, a statement that is left out. A number or word in a table or a declaration is no
fault here: what is fixed at compile time can't be switched.
"""
import json
import os
import shlex
import sys

import clang.cindex as cx
from clang.cindex import CursorKind as K

cx.Config.set_library_file("libclang-19.so.1")

# What is told of a place in a source stays as it was.
INCLUDE = '#include "mutation/fault.h"\n#line 1\n'
BOUNDS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}

# What is known at compile time.
FIXED = (K.STATIC_ASSERT, K.TYPE_ALIAS_DECL, K.TYPEDEF_DECL, K.ENUM_DECL, K.CONCEPT_DECL,
         K.TEMPLATE_TYPE_PARAMETER, K.TEMPLATE_NON_TYPE_PARAMETER)


class Source:
    """One file, and the faults that are put into it."""

    def __init__(self, path, faults):
        self.path = path
        self.text = open(path, "rb").read()
        self.inserts = []  # offset, order, text
        self.seen = set()
        self.faults = faults

    def slice(self, begin, end):
        return self.text[begin:end].decode()

    def add(self, kind, begin, end):
        """A number for a fault of the text between the two, or nothing when it has one."""
        if (kind, begin, end) in self.seen:
            return None
        self.seen.add((kind, begin, end))
        number = len(self.faults) + 1
        line = self.text.count(b"\n", 0, begin) + 1
        words = " ".join(self.slice(begin, end).split())
        self.faults.append({"fault": number, "file": self.path, "line": line, "kind": kind,
                            "text": words[:100]})
        return number

    def wrap(self, begin, end, before, after):
        # What is outside begins earlier and ends later than what is in it.
        self.inserts.append((begin, 1, -(end - begin), len(self.inserts), before))
        self.inserts.append((end, 0, end - begin, -len(self.inserts), after))

    def written(self):
        out, at = [], 0
        for offset, _, _, _, text in sorted(self.inserts):
            out.append(self.slice(at, offset))
            out.append(text)
            at = offset
        out.append(self.slice(at, len(self.text)))
        return INCLUDE + "".join(out) if self.inserts else "".join(out)


def extent(cursor):
    return cursor.extent.start.offset, cursor.extent.end.offset


def operator(cursor, source):
    """The operator of a binary expression."""
    left, right = list(cursor.get_children())
    middle = source.slice(extent(left)[1], extent(right)[0])
    return middle.strip().strip("()").strip()


class Walk:
    def __init__(self, sources, root):
        self.sources = sources
        self.root = root

    def source_of(self, cursor):
        file = cursor.extent.start.file
        if not file or not cursor.extent.end.file or cursor.extent.end.file.name != file.name:
            return None
        path = os.path.relpath(os.path.realpath(file.name), self.root)
        return self.sources.get(path)

    def condition(self, cursor, what):
        source = self.source_of(cursor)
        begin, end = extent(cursor)
        if source is None or end <= begin:
            return
        if cursor.type.spelling and cursor.kind in (K.DECL_STMT, K.VAR_DECL):
            return
        number = source.add(what + " holds always", begin, end)
        if number is None:
            return
        never = source.add(what + " never holds", begin, end)
        source.wrap(begin, end, f"vemoFault::holds({number}, {never}, [&]() -> bool {{ return bool(",
                    "); })")

    def visit(self, cursor, parent, inside):
        """inside: whether this is run, and not known at compile time."""
        kind = cursor.kind
        if kind in FIXED:
            return
        source = self.source_of(cursor)
        children = list(cursor.get_children())
        if kind == K.CASE_STMT:
            children = children[1:]
        if kind == K.TRANSLATION_UNIT:
            for child in children:
                if self.source_of(child) is not None:
                    self.visit(child, cursor, False)
            return
        if kind == K.VAR_DECL:
            tokens = [t.spelling for t in cursor.get_tokens()][:6]
            if "constexpr" in tokens or ("static" in tokens and not inside):
                return
        if kind == K.IF_STMT and source is not None:
            head = source.slice(extent(cursor)[0], extent(cursor)[0] + 20)
            if head.startswith("if constexpr"):
                for child in children[1:]:
                    self.visit(child, cursor, inside)
                return
        if kind == K.CALL_EXPR and cursor.spelling == "reserve":
            return  # saves time, and nothing else
        if kind == K.COMPOUND_STMT:
            inside = True
        if source is not None and inside:
            self.put(cursor, parent, children, source)
        for child in children:
            self.visit(child, cursor, inside)

    def put(self, cursor, parent, children, source):
        kind = cursor.kind
        if kind == K.IF_STMT:
            declared = [c for c in children if c.kind in (K.VAR_DECL, K.DECL_STMT)]
            if not declared:
                self.condition(children[0], "condition")
            elif children[0].kind == K.VAR_DECL:  # if (auto x = ...)
                begin, end = extent(children[0])
                name = children[0].spelling
                number = source.add("condition never holds", begin, end)
                if number:
                    source.wrap(begin, end, "", f"; {name} && !vemoFault::on({number})")
            elif len(children) > 2:
                self.condition(children[1], "condition")
        elif kind == K.CONDITIONAL_OPERATOR:
            self.condition(children[0], "choice")
        elif kind == K.WHILE_STMT and children[0].kind not in (K.VAR_DECL, K.DECL_STMT):
            begin, end = extent(children[0])
            number = source.add("loop never runs", begin, end)
            if number:
                source.wrap(begin, end, f"!vemoFault::on({number}) && bool(", ")")
        elif kind == K.BINARY_OPERATOR and len(children) == 2:
            begin, end = extent(cursor)
            sign = operator(cursor, source)
            if sign in ("&&", "||"):
                for child in children:
                    self.condition(child, "part")
            elif sign in BOUNDS:
                number = source.add("bound", begin, end)
                if number:
                    left, right = (source.slice(*extent(c)) for c in children)
                    source.wrap(begin, end,
                                f"(vemoFault::on({number}) ? (({left}) {BOUNDS[sign]} ({right})) : (", "))")
            elif sign in ("==", "!="):
                number = source.add("comparison", begin, end)
                if number:
                    source.wrap(begin, end, f"((", f") != vemoFault::on({number}))")
        elif kind == K.INTEGER_LITERAL:
            begin, end = extent(cursor)
            text = source.slice(begin, end)
            before = source.slice(max(0, begin - 1), begin)
            inType = parent.kind == K.VAR_DECL and begin < parent.location.offset
            if text.rstrip("uUlLzZ").isdigit() and before not in ("[", "<") and not inType:
                number = source.add("number", begin, end)
                if number:
                    source.wrap(begin, end, f"vemoFault::more({number}, ", ")")
        elif kind == K.CXX_BOOL_LITERAL_EXPR:
            begin, end = extent(cursor)
            if source.slice(begin, end) in ("true", "false"):
                number = source.add("yes or no", begin, end)
                if number:
                    source.wrap(begin, end, "(", f" != vemoFault::on({number}))")
        self.statement(cursor, parent, source)

    def statement(self, cursor, parent, source):
        statements = (K.CALL_EXPR, K.BINARY_OPERATOR, K.COMPOUND_ASSIGNMENT_OPERATOR, K.UNARY_OPERATOR,
                      K.UNEXPOSED_EXPR)
        if cursor.kind not in statements:
            return
        holds = parent.kind == K.COMPOUND_STMT
        if parent.kind in (K.IF_STMT, K.FOR_STMT, K.WHILE_STMT, K.CXX_FOR_RANGE_STMT):
            after = source.slice(extent(cursor)[1], extent(cursor)[1] + 3).lstrip()
            of = list(parent.get_children())
            body = of[1:] if parent.kind == K.IF_STMT else of[-1:]
            holds = after.startswith(";") and cursor in body
        if not holds:
            return
        begin, end = extent(cursor)
        number = source.add("left out", begin, end)
        if number:
            source.wrap(begin, end, f"vemoFault::on({number}) ? void() : void(", ")")


def main():
    build, out, names = sys.argv[1], sys.argv[2], sys.argv[3:]
    root = os.path.realpath(".")
    faults = []
    sources = {name: Source(name, faults) for name in names}
    commands = json.load(open(os.path.join(build, "compile_commands.json")))
    index = cx.Index.create()
    walk = Walk(sources, root)
    for command in commands:
        path = os.path.relpath(os.path.realpath(command["file"]), root)
        if path not in sources:
            continue
        arguments = shlex.split(command["command"])
        kept, skip = [], False
        for argument in arguments[1:]:
            if skip:
                skip = False
            elif argument in ("-o", "-c", "-include-pch"):
                skip = argument != "-c"
            elif argument != command["file"] and not argument.endswith(".o"):
                kept.append(argument)
        os_dir = command["directory"]
        kept = [("-I" + os.path.join(os_dir, a[2:])) if a.startswith("-I") and not a[2:].startswith("/")
                else a for a in kept]
        unit = index.parse(command["file"], args=kept)
        wrong = [d for d in unit.diagnostics if d.severity >= cx.Diagnostic.Error]
        if wrong:
            sys.exit(f"mutate: {path} can't be read: {wrong[0]}")
        walk.visit(unit.cursor, None, False)
    for name, source in sources.items():
        target = os.path.join(out, name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        written = os.stat(name)
        open(target, "w").write(source.written())
        os.utime(target, ns=(written.st_atime_ns, written.st_mtime_ns))  # nothing is configured anew
    json.dump(faults, open(os.path.join(out, "faults.json"), "w"), indent=0)
    print(f"{len(faults)} faults in {len(names)} files")


main()
