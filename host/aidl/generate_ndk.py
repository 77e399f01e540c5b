#!/usr/bin/env python3
"""Generates the NDK-binding C++ of AIDL declarations for the host build.

For every .aidl file named on the command line it writes what the platform's AIDL compiler writes
for the NDK backend: the header include/aidl/<package path>/<Type>.h, the source
<package path>/<Type>.cpp, and for an interface also include/aidl/<package path>/Bn<Name>.h. Types
that a file uses are read from the other files of the same tree (--root), found by their package
path.

It understands the subset of AIDL that the host declarations use: package and import lines;
parcelable, union, enum and interface declarations; nested types; constants and field defaults
(integer, float, boolean and string expressions, references to constants and enumerators);
generic parcelables such as MQDescriptor<T, Flavor>; arrays; and the annotations @nullable,
@utf8InCpp, @Backing, @FixedSize, @VintfStability, @JavaDerive and @SuppressWarnings. Interfaces
declare no methods: on the host they are binder handles. Anything else is an error that names the
file and line.

Usage:
  generate_ndk.py --root DIR --out DIR FILE...                  write the outputs
  generate_ndk.py --root DIR --out DIR --list-outputs FILE...   print their paths, one a line
  generate_ndk.py --root DIR --out DIR --list-parcelables FILE...
      print "<header> <C++ name>" for every parcelable and union, nested ones included (generic
      ones, which need type arguments, are left out)
"""

import argparse
import os
import re
import sys


class AidlError(Exception):
    def __init__(self, where, message):
        super().__init__(f"{where[0]}:{where[1]}: {message}")


# ---------------------------------------------------------------------------------------------
# Lexer

TOKEN_RE = re.compile(
    r"""
    (?P<space>\s+)
  | (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<float>\d+\.\d*(?:[eE][+-]?\d+)?[fFdD]?|\d+[eE][+-]?\d+[fFdD]?|\d+[fF])
  | (?P<int>0[xX][0-9a-fA-F]+[lL]?|\d+[lL]?)
  | (?P<string>"(?:[^"\\\n]|\\.)*")
  | (?P<name>[A-Za-z_][A-Za-z0-9_]*)
  | (?P<op><<|>>|&&|\|\||==|!=|<=|>=|[{}()\[\]<>;,=@.|&^~+\-*/%!])
    """,
    re.S | re.X,
)


class Token:
    def __init__(self, kind, text, where):
        self.kind, self.text, self.where = kind, text, where

    def __repr__(self):
        return repr(self.text)


def tokenize(path, text):
    tokens, pos, line = [], 0, 1
    while pos < len(text):
        match = TOKEN_RE.match(text, pos)
        if not match:
            raise AidlError((path, line), f"unexpected character {text[pos]!r}")
        kind = match.lastgroup
        if kind not in ("space", "comment"):
            tokens.append(Token(kind, match.group(), (path, line)))
        line += match.group().count("\n")
        pos = match.end()
    tokens.append(Token("end", "end of file", (path, line)))
    return tokens


# ---------------------------------------------------------------------------------------------
# Declarations

BUILTIN_TYPES = {
    "boolean": "bool",
    "byte": "int8_t",
    "char": "char16_t",
    "int": "int32_t",
    "long": "int64_t",
    "float": "float",
    "double": "double",
    "String": "std::string",
    "ParcelFileDescriptor": "::ndk::ScopedFileDescriptor",
    "IBinder": "::ndk::SpAIBinder",
}
CONSTANT_TYPES = {"byte", "char", "int", "long", "float", "double", "boolean", "String"}
INTEGER_BITS = {"byte": 8, "char": 16, "int": 32, "long": 64}
BACKING_TYPES = {"byte": "int8_t", "int": "int32_t", "long": "int64_t"}
TYPE_ANNOTATIONS = {"VintfStability", "FixedSize", "Backing", "JavaDerive", "SuppressWarnings"}
FIELD_ANNOTATIONS = {"nullable", "utf8InCpp"}


class TypeRef:
    """A type as written: a (dotted) name, type arguments, and whether it is an array."""

    def __init__(self, name, args, array, annotations, where):
        self.name, self.args, self.array = name, args, array
        self.annotations, self.where = annotations, where
        self.target = None  # a builtin name, a Decl, or a type parameter name

    @property
    def nullable(self):
        return "nullable" in self.annotations


class Field:
    def __init__(self, name, type_ref, default, where):
        self.name, self.type, self.default, self.where = name, type_ref, default, where


class Constant:
    def __init__(self, name, type_ref, expr, where):
        self.name, self.type, self.expr, self.where = name, type_ref, expr, where
        self.value = None


class Enumerator:
    def __init__(self, name, expr, where):
        self.name, self.expr, self.where = name, expr, where
        self.value = None


class Decl:
    """A parcelable, union, enum or interface, top-level or nested."""

    def __init__(self, kind, name, annotations, where):
        self.kind, self.name, self.annotations, self.where = kind, name, annotations, where
        self.package, self.parent, self.file = None, None, None
        self.type_params, self.fields, self.constants = [], [], []
        self.enumerators, self.nested = [], []

    @property
    def chain(self):
        return (self.parent.chain if self.parent else []) + [self.name]

    @property
    def top(self):
        return self.parent.top if self.parent else self

    @property
    def qualified(self):
        return ".".join([self.package] + self.chain)

    @property
    def namespace(self):
        return "aidl::" + self.package.replace(".", "::")

    @property
    def backing(self):
        args = self.annotations.get("Backing", {})
        return args.get("type", "byte")

    def walk(self):
        yield self
        for nested in self.nested:
            yield from nested.walk()


class AidlFile:
    def __init__(self, path, package, imports, decl):
        self.path, self.package, self.imports, self.decl = path, package, imports, decl


# ---------------------------------------------------------------------------------------------
# Parser


class Parser:
    def __init__(self, path, text):
        self.path = path
        self.tokens = tokenize(path, text)
        self.pos = 0

    @property
    def peek(self):
        return self.tokens[self.pos]

    def next(self):
        token = self.tokens[self.pos]
        self.pos += 1
        return token

    def accept(self, text):
        if self.peek.text == text and self.peek.kind in ("op", "name"):
            return self.next()
        return None

    def expect(self, text):
        token = self.next()
        if token.text != text or token.kind not in ("op", "name"):
            raise AidlError(token.where, f"expected '{text}', found '{token.text}'")
        return token

    def name(self, what="a name"):
        token = self.next()
        if token.kind != "name":
            raise AidlError(token.where, f"expected {what}, found '{token.text}'")
        return token.text

    def qualified_name(self):
        parts = [self.name()]
        while self.accept("."):
            parts.append(self.name())
        return ".".join(parts)

    def parse_file(self):
        self.expect("package")
        package = self.qualified_name()
        self.expect(";")
        imports = []
        while self.accept("import"):
            imports.append((self.qualified_name(), self.peek.where))
            self.expect(";")
        decl = self.declaration()
        if self.peek.kind != "end":
            raise AidlError(self.peek.where, "one type per file: unexpected text after the type")
        return AidlFile(self.path, package, imports, decl)

    def annotations(self, allowed):
        found = {}
        while self.peek.text == "@":
            where = self.next().where
            name = self.name("an annotation")
            if name not in allowed:
                raise AidlError(where, f"annotation @{name} is not supported here")
            args = {}
            if self.accept("("):
                while not self.accept(")"):
                    key = self.name()
                    self.expect("=")
                    value = self.next()
                    if value.kind == "op" and value.text == "{":  # @JavaDerive(x={...})
                        while not self.accept("}"):
                            self.next()
                        value_text = ""
                    else:
                        value_text = value.text.strip('"')
                    args[key] = value_text
                    self.accept(",")
            found[name] = args
        return found

    def declaration(self):
        annotations = self.annotations(TYPE_ANNOTATIONS | FIELD_ANNOTATIONS)
        token = self.next()
        if token.text not in ("parcelable", "union", "enum", "interface"):
            raise AidlError(token.where, f"expected a type declaration, found '{token.text}'")
        for name in annotations:
            if name in FIELD_ANNOTATIONS:
                raise AidlError(token.where, f"@{name} applies to fields, not to types")
        if "Backing" in annotations:
            if token.text != "enum":
                raise AidlError(token.where, "@Backing applies to enums only")
            if annotations["Backing"].get("type") not in BACKING_TYPES:
                raise AidlError(token.where, "@Backing(type=...) must be byte, int or long")
        decl = Decl(token.text, self.name("the type's name"), annotations, token.where)
        if self.accept("<"):
            if decl.kind != "parcelable":
                raise AidlError(token.where, "only parcelables can have type parameters")
            while True:
                self.annotations(TYPE_ANNOTATIONS)
                decl.type_params.append(self.name("a type parameter"))
                if self.accept(">"):
                    break
                self.expect(",")
        if self.peek.text == ";":
            raise AidlError(self.peek.where,
                            "forward-declared (structured=false) types are not supported")
        self.expect("{")
        if decl.kind == "enum":
            self.enum_body(decl)
        else:
            self.body(decl)
        return decl

    def enum_body(self, decl):
        while not self.accept("}"):
            where = self.peek.where
            name = self.name("an enumerator")
            expr = self.expression() if self.accept("=") else None
            decl.enumerators.append(Enumerator(name, expr, where))
            if not self.accept(","):
                self.expect("}")
                break
        if not decl.enumerators:
            raise AidlError(decl.where, f"enum {decl.name} has no enumerators")

    def body(self, decl):
        while not self.accept("}"):
            start = self.pos
            self.annotations(TYPE_ANNOTATIONS | FIELD_ANNOTATIONS)
            if self.peek.text in ("parcelable", "union", "enum", "interface"):
                self.pos = start
                nested = self.declaration()
                if nested.kind == "interface":
                    raise AidlError(nested.where, "nested interfaces are not supported")
                nested.parent = decl
                decl.nested.append(nested)
                continue
            self.pos = start
            field_annotations = self.annotations(FIELD_ANNOTATIONS)
            if self.accept("const"):
                type_ref = self.type_ref(field_annotations)
                where = self.peek.where
                name = self.name("the constant's name")
                self.expect("=")
                decl.constants.append(Constant(name, type_ref, self.expression(), where))
                self.expect(";")
                continue
            if decl.kind == "interface":
                raise AidlError(self.peek.where,
                                "interfaces hold only constants and nested types here: "
                                "methods are not supported (interfaces are binder handles)")
            type_ref = self.type_ref(field_annotations)
            where = self.peek.where
            name = self.name("the field's name")
            if self.peek.text == "(":
                raise AidlError(where, "methods are not supported")
            default = self.expression() if self.accept("=") else None
            self.expect(";")
            decl.fields.append(Field(name, type_ref, default, where))
        if decl.kind == "union" and not decl.fields:
            raise AidlError(decl.where, f"union {decl.name} has no alternatives")

    def type_ref(self, annotations):
        annotations = {**annotations, **self.annotations(FIELD_ANNOTATIONS)}
        where = self.peek.where
        name = self.qualified_name()
        if name in ("void", "List", "Map") or name.startswith("java."):
            raise AidlError(where, f"type {name} is not supported")
        args = []
        if self.accept("<"):
            while True:
                args.append(self.type_ref({}))
                if self.peek.text == ">>":  # the end of two argument lists
                    self.tokens[self.pos] = Token("op", ">", self.peek.where)
                    self.tokens.insert(self.pos, Token("op", ">", self.peek.where))
                if self.accept(">"):
                    break
                self.expect(",")
        array = False
        if self.accept("["):
            self.expect("]")
            array = True
            if self.peek.text == "[":
                raise AidlError(self.peek.where, "arrays of arrays are not supported")
        return TypeRef(name, args, array, annotations, where)

    # Expressions: a tree of tuples, evaluated once the names they use can be resolved.
    BINARY = [["||"], ["&&"], ["|"], ["^"], ["&"], ["==", "!="], ["<", ">", "<=", ">="],
              ["<<", ">>"], ["+", "-"], ["*", "/", "%"]]

    def expression(self, level=0):
        if level == len(self.BINARY):
            return self.unary()
        left = self.expression(level + 1)
        while self.peek.kind == "op" and self.peek.text in self.BINARY[level]:
            token = self.next()
            left = ("binary", token.text, left, self.expression(level + 1), token.where)
        return left

    def unary(self):
        token = self.peek
        if token.kind == "op" and token.text in ("-", "~", "!", "+"):
            self.next()
            return ("unary", token.text, self.unary(), token.where)
        if self.accept("("):
            inner = self.expression()
            self.expect(")")
            return inner
        token = self.next()
        if token.kind == "int":
            return ("int", int(token.text.rstrip("lL"), 0), token.text[-1] in "lL", token.where)
        if token.kind == "float":
            text = token.text
            return ("float", float(text.rstrip("fFdD")), text[-1] in "fF", token.where)
        if token.kind == "string":
            return ("string", bytes(token.text[1:-1], "utf-8").decode("unicode_escape"),
                    token.where)
        if token.kind == "name":
            if token.text in ("true", "false"):
                return ("bool", token.text == "true", token.where)
            parts = [token.text]
            while self.accept("."):
                parts.append(self.name())
            return ("name", ".".join(parts), token.where)
        raise AidlError(token.where, f"expected a value, found '{token.text}'")


# ---------------------------------------------------------------------------------------------
# The tree of declarations: loading, name resolution and constant evaluation


class EnumValue:
    def __init__(self, decl, enumerator):
        self.decl, self.enumerator = decl, enumerator


class Tree:
    def __init__(self, root):
        self.root = os.path.abspath(root)
        self.files = {}
        self.evaluating = set()

    def load(self, path):
        path = os.path.abspath(path)
        if path in self.files:
            return self.files[path]
        with open(path, encoding="utf-8") as f:
            parsed = Parser(os.path.relpath(path), f.read()).parse_file()
        relative = os.path.relpath(path, self.root)
        expected = os.path.join(*parsed.package.split("."), parsed.decl.name + ".aidl")
        if relative != expected:
            raise AidlError(parsed.decl.where,
                            f"type {parsed.package}.{parsed.decl.name} belongs in {expected} "
                            f"under {self.root}")
        for decl in parsed.decl.walk():
            decl.package, decl.file = parsed.package, parsed
        self.files[path] = parsed
        return parsed

    def find(self, qualified):
        """The declaration named by a fully qualified dotted name, or None."""
        parts = qualified.split(".")
        for split in range(len(parts) - 1, -1, -1):
            path = os.path.join(self.root, *parts[:split], parts[split] + ".aidl")
            if os.path.isfile(path):
                return self.nested(self.load(path).decl, parts[split + 1:])
        return None

    @staticmethod
    def nested(decl, names):
        for name in names:
            decl = next((n for n in decl.nested if n.name == name), None)
            if decl is None:
                return None
        return decl

    def resolve_type(self, type_ref, scope):
        """Finds what a type name refers to, as AIDL looks it up from inside scope."""
        name = type_ref.name
        if name in BUILTIN_TYPES:
            type_ref.target = name
        else:
            type_ref.target = self.lookup(name, scope)
            if type_ref.target is None:
                raise AidlError(type_ref.where, f"unknown type {name}")
        for arg in type_ref.args:
            self.resolve_type(arg, scope)
        target = type_ref.target
        if type_ref.args and not (isinstance(target, Decl) and target.type_params):
            raise AidlError(type_ref.where, f"{name} takes no type arguments")
        if isinstance(target, Decl) and len(type_ref.args) != len(target.type_params):
            raise AidlError(type_ref.where,
                            f"{name} takes {len(target.type_params)} type arguments")

    def lookup(self, name, scope):
        parts = name.split(".")
        first = parts[0]
        decl = scope
        while decl is not None:
            if len(parts) == 1 and first in decl.type_params:
                return first
            for candidate in [decl] + decl.nested:
                if candidate.name == first:
                    return self.nested(candidate, parts[1:])
            decl = decl.parent
        for imported, _ in scope.file.imports:
            if imported.split(".")[-1] == first:
                found = self.find(imported)
                return self.nested(found, parts[1:]) if found else None
        return self.find(f"{scope.package}.{name}") or self.find(name)

    def check_imports(self, aidl_file):
        for imported, where in aidl_file.imports:
            if self.find(imported) is None:
                raise AidlError(where, f"cannot find the imported type {imported}")

    def evaluate(self, expr, scope, enum_scope=None):
        """Evaluates an expression: an int, a float, a bool, a str or an EnumValue."""
        kind = expr[0]
        if kind in ("int", "float", "string", "bool"):
            return expr[1]
        if kind == "name":
            return self.evaluate_name(expr[1], scope, enum_scope, expr[2])
        if kind == "unary":
            value = self.number(self.evaluate(expr[2], scope, enum_scope), expr[3])
            return {"-": lambda v: -v, "+": lambda v: v, "~": lambda v: ~v,
                    "!": lambda v: not v}[expr[1]](value)
        op, where = expr[1], expr[4]
        left = self.evaluate(expr[2], scope, enum_scope)
        right = self.evaluate(expr[3], scope, enum_scope)
        if isinstance(left, str) and isinstance(right, str) and op == "+":
            return left + right
        left, right = self.number(left, where), self.number(right, where)
        if op in ("/", "%") and right == 0:
            raise AidlError(where, "division by zero")
        if op in ("<<", ">>") and not 0 <= right < 64:
            raise AidlError(where, "shift count out of range")
        operations = {
            "||": lambda: bool(left) or bool(right), "&&": lambda: bool(left) and bool(right),
            "|": lambda: left | right, "^": lambda: left ^ right, "&": lambda: left & right,
            "==": lambda: left == right, "!=": lambda: left != right, "<": lambda: left < right,
            ">": lambda: left > right, "<=": lambda: left <= right, ">=": lambda: left >= right,
            "<<": lambda: left << right, ">>": lambda: left >> right, "+": lambda: left + right,
            "-": lambda: left - right, "*": lambda: left * right,
            "/": lambda: int(left / right) if isinstance(left, int) else left / right,
            "%": lambda: left % right,
        }
        return operations[op]()

    @staticmethod
    def number(value, where):
        if isinstance(value, EnumValue):
            return value.enumerator.value
        if isinstance(value, str):
            raise AidlError(where, "a string is not a number")
        return value

    def evaluate_name(self, name, scope, enum_scope, where):
        parts = name.split(".")
        if len(parts) == 1:
            if enum_scope is not None:
                for enumerator in enum_scope.enumerators:
                    if enumerator.name == name:
                        return EnumValue(enum_scope, self.enumerator_value(enum_scope, enumerator))
            decl = scope
            while decl is not None:
                for constant in decl.constants:
                    if constant.name == name:
                        return self.constant_value(decl, constant).value
                decl = decl.parent
            raise AidlError(where, f"unknown constant {name}")
        owner = self.lookup(".".join(parts[:-1]), scope)
        if isinstance(owner, Decl):
            for enumerator in owner.enumerators:
                if enumerator.name == parts[-1]:
                    return EnumValue(owner, self.enumerator_value(owner, enumerator))
            for constant in owner.constants:
                if constant.name == parts[-1]:
                    return self.constant_value(owner, constant).value
        raise AidlError(where, f"unknown constant {name}")

    def constant_value(self, decl, constant):
        if constant.value is None:
            key = id(constant)
            if key in self.evaluating:
                raise AidlError(constant.where, f"{constant.name} depends on itself")
            self.evaluating.add(key)
            self.resolve_type(constant.type, decl)
            if constant.type.array or constant.type.target not in CONSTANT_TYPES:
                raise AidlError(constant.where, f"constants of type {constant.type.name} are "
                                                "not supported")
            constant.value = check_value(self.evaluate(constant.expr, decl), constant.type,
                                         constant.where)
            self.evaluating.discard(key)
        return constant

    def enumerator_value(self, decl, enumerator):
        if enumerator.value is None:
            key = id(enumerator)
            if key in self.evaluating:
                raise AidlError(enumerator.where, f"{enumerator.name} depends on itself")
            self.evaluating.add(key)
            index = decl.enumerators.index(enumerator)
            if enumerator.expr is not None:
                value = self.number(self.evaluate(enumerator.expr, decl, decl), enumerator.where)
            elif index == 0:
                value = 0
            else:
                value = self.enumerator_value(decl, decl.enumerators[index - 1]).value + 1
            enumerator.value = check_int(value, decl.backing, enumerator.where)
            self.evaluating.discard(key)
        return enumerator

    def analyse(self, aidl_file):
        """Resolves every name of a file and evaluates its constants and defaults."""
        self.check_imports(aidl_file)
        for decl in aidl_file.decl.walk():
            for enumerator in decl.enumerators:
                self.enumerator_value(decl, enumerator)
            for constant in decl.constants:
                self.constant_value(decl, constant)
            for field in decl.fields:
                self.resolve_type(field.type, decl)
                check_field(decl, field)
                field.default_value = None
                if field.default is not None:
                    value = self.evaluate(field.default, decl)
                    field.default_value = check_value(value, field.type, field.where)
                target = field.type.target
                if isinstance(target, Decl) and target.kind == "enum":
                    for enumerator in target.enumerators:  # for the zero default
                        self.enumerator_value(target, enumerator)
            names = [f.name for f in decl.fields] + [c.name for c in decl.constants]
            names += [e.name for e in decl.enumerators]
            for name in names:
                if names.count(name) > 1:
                    raise AidlError(decl.where, f"{decl.name} declares {name} twice")


def check_int(value, type_name, where):
    if isinstance(value, bool) or not isinstance(value, int):
        raise AidlError(where, f"expected an integer for {type_name}")
    bits = INTEGER_BITS[type_name]
    low = 0 if type_name == "char" else -(1 << (bits - 1))
    high = (1 << bits) - 1 if type_name == "char" else (1 << (bits - 1)) - 1
    if low <= value <= high:
        return value
    # Hexadecimal literals may spell a negative number by its bits (0xFFFFFFFF is -1).
    if type_name != "char" and 0 <= value < (1 << bits):
        return value - (1 << bits)
    raise AidlError(where, f"{value} does not fit in {type_name}")


def check_value(value, type_ref, where):
    """The value converted to the type of a constant or field, or an error."""
    target = type_ref.target
    if type_ref.array:
        raise AidlError(where, "array values are not supported")
    if isinstance(target, Decl) and target.kind == "enum":
        if not isinstance(value, EnumValue) or value.decl is not target:
            raise AidlError(where, f"expected an enumerator of {target.name}")
        return value
    if isinstance(value, EnumValue):
        value = value.enumerator.value
    if target in INTEGER_BITS:
        return check_int(value, target, where)
    if target in ("float", "double"):
        if isinstance(value, bool) or not isinstance(value, (int, float)):
            raise AidlError(where, f"expected a number for {target}")
        return float(value)
    if target == "boolean":
        if not isinstance(value, bool):
            raise AidlError(where, "expected true or false")
        return value
    if target == "String":
        if not isinstance(value, str):
            raise AidlError(where, "expected a string")
        return value
    raise AidlError(where, f"values of type {type_ref.name} are not supported")


def check_field(decl, field):
    type_ref, target = field.type, field.type.target
    if type_ref.nullable:
        nullable_kinds = ("parcelable", "union", "interface")
        if not (type_ref.array or target in ("String", "ParcelFileDescriptor", "IBinder") or
                (isinstance(target, Decl) and target.kind in nullable_kinds)):
            raise AidlError(field.where, f"{type_ref.name} cannot be @nullable")
        if decl.kind == "union":
            raise AidlError(field.where, "@nullable union alternatives are not supported")
    if isinstance(target, str) and target in decl.type_params and type_ref.array:
        raise AidlError(field.where, "arrays of type parameters are not supported")
    if type_ref.array and isinstance(target, Decl) and target.kind == "interface":
        raise AidlError(field.where, "arrays of interfaces are not supported")


# ---------------------------------------------------------------------------------------------
# C++ output


def cpp_name(decl, scope):
    """The shortest correct C++ name of decl from inside scope (a Decl, or None for namespace
    scope of the same namespace)."""
    scope_chain = scope.chain if scope else []
    if scope is not None and scope.namespace != decl.namespace:
        return "::" + decl.namespace + "::" + "::".join(decl.chain)
    chain = decl.chain
    common = 0
    while (common < len(chain) - 1 and common < len(scope_chain) and
           chain[common] == scope_chain[common]):
        common += 1
    return "::".join(chain[common:])


def qualified_cpp_name(decl):
    return "::" + decl.namespace + "::" + "::".join(decl.chain)


def cpp_type(type_ref, scope, element=False):
    """The C++ type of a field, alternative or type argument."""
    target = type_ref.target
    if type_ref.array and not element:
        if target == "byte":
            return "std::optional<std::vector<uint8_t>>" if type_ref.nullable else \
                "std::vector<uint8_t>"
        inner = cpp_type(type_ref, scope, element=True)
        if not type_ref.nullable:
            return f"std::vector<{inner}>"
        # As the platform's: the elements of a nullable array of strings or parcelables are
        # nullable too.
        if target == "String" or (isinstance(target, Decl) and
                                   target.kind in ("parcelable", "union")):
            inner = f"std::optional<{inner}>"
        return f"std::optional<std::vector<{inner}>>"
    if isinstance(target, str):
        if target in BUILTIN_TYPES:
            inner = BUILTIN_TYPES[target]
            if target == "String" and type_ref.nullable and not element:
                return f"std::optional<{inner}>"
            return inner
        return target  # a type parameter
    name = cpp_name(target, scope)
    if target.kind == "interface":
        return f"std::shared_ptr<{name}>"
    if type_ref.args:
        name += "<" + ", ".join(cpp_type(arg, scope) for arg in type_ref.args) + ">"
    if type_ref.nullable and not element and target.kind in ("parcelable", "union"):
        return f"std::optional<{name}>"
    return name


def is_nullable_handle(type_ref):
    """Whether the field is a nullable type whose null is a value of its C++ type."""
    target = type_ref.target
    return type_ref.nullable and not type_ref.array and (
        target in ("ParcelFileDescriptor", "IBinder") or
        (isinstance(target, Decl) and target.kind == "interface"))


def cpp_int(value, type_name):
    if type_name == "long" and not -(1 << 31) <= value < (1 << 31):
        if value == -(1 << 63):
            return "INT64_MIN"
        return f"{value}LL"
    if type_name == "int" and value == -(1 << 31):
        return "INT32_MIN"
    return str(value)


def cpp_float(value, type_name):
    text = repr(value)
    if "e" not in text and "." not in text and "inf" not in text and "nan" not in text:
        text += ".0"
    return text + ("f" if type_name == "float" else "")


def cpp_string(value):
    out = []
    for ch in value:
        if ch in '"\\':
            out.append("\\" + ch)
        elif ch == "\n":
            out.append("\\n")
        elif ord(ch) < 0x20:
            out.append(f"\\x{ord(ch):02x}")
        else:
            out.append(ch)
    return '"' + "".join(out) + '"'


def cpp_value(value, type_ref, scope):
    """The C++ expression of an evaluated value of the given type."""
    target = type_ref.target
    if isinstance(value, EnumValue):
        return f"{cpp_name(value.decl, scope)}::{value.enumerator.name}"
    if target in INTEGER_BITS:
        if target == "char":
            return f"u'\\x{value:04x}'" if value else "u'\\0'"
        return cpp_int(value, target)
    if target in ("float", "double"):
        return cpp_float(value, target)
    if target == "boolean":
        return "true" if value else "false"
    return cpp_string(value)


def default_initializer(field, scope):
    """The field's default member initializer. Fields of class type get an empty one, so that
    designated initializers may leave them out without a missing-initializer warning."""
    type_ref, target = field.type, field.type.target
    if field.default_value is not None:
        return " = " + cpp_value(field.default_value, type_ref, scope)
    if type_ref.array or type_ref.nullable:
        return "{}"
    if target in INTEGER_BITS:
        return " = " + cpp_value(0, type_ref, scope)
    if target in ("float", "double"):
        return " = " + cpp_float(0.0, target)
    if target == "boolean":
        return " = false"
    if isinstance(target, Decl) and target.kind == "enum":
        zero = next((e for e in target.enumerators if e.value == 0), None)
        name = cpp_name(target, scope)
        return f" = {name}::{zero.name}" if zero else f" = static_cast<{name}>(0)"
    return "{}"


def own_name(decl):
    """The class name as written inside its own member definitions: Outer::Inner<T, U>."""
    name = "::".join(decl.chain)
    if decl.type_params:
        name += "<" + ", ".join(decl.type_params) + ">"
    return name


def template_prefix(decl):
    params = [p for d in [decl] for p in d.type_params]
    return "template <" + ", ".join(f"typename {p}" for p in params) + ">\n" if params else ""


def member_expr(name):
    """A field as an expression inside a member function, clear of the locals we declare."""
    return f"this->{name}" if name in ("os", "rhs") or name.startswith("_aidl") else name


def read_function(type_ref):
    """The platform's reader of a field or alternative: the nullable one for @nullable."""
    return "AParcel_readNullableData" if type_ref.nullable else "AParcel_readData"


def write_function(type_ref):
    return "AParcel_writeNullableData" if type_ref.nullable else "AParcel_writeData"


UNION_HELPER_NAMES = {"Tag", "TagValue", "ValueType", "Args", "Index", "List", "kNotSelf",
                      "make", "get", "set", "getTag"}


def wrap(line, limit=100):
    """Splits a long line of code after ", " separators; lines with string literals or comments
    stay as they are."""
    if len(line) <= limit or '"' in line or "//" in line:
        return [line]
    continuation = " " * (len(line) - len(line.lstrip()) + 8)
    lines = []
    while len(line) > limit:
        cut = line.rfind(", ", 0, limit - 1)
        if cut <= len(continuation):
            break
        lines.append(line[:cut + 1])
        line = continuation + line[cut + 2:]
    return lines + [line]


class Writer:
    """Collects lines of C++ at an indentation of four spaces per level."""

    def __init__(self):
        self.lines, self.level = [], 0

    def line(self, text=""):
        if not text:
            self.lines.append("")
            return
        self.lines.extend(wrap("    " * self.level + text))

    def block(self, text):
        for line in text.strip("\n").split("\n"):
            self.line(line)

    def indent(self):
        self.level += 1

    def dedent(self):
        self.level -= 1

    def text(self):
        # At most one blank line in a row, none before a closing brace.
        out = []
        for line in self.lines:
            if line == "" and (not out or out[-1] == ""):
                continue
            closing = line.strip().startswith("}") and not line.startswith("}  // namespace")
            if closing and out and out[-1] == "":
                out.pop()
            out.append(line)
        return "\n".join(out).rstrip("\n") + "\n"


def referenced_tops(decl):
    """The top-level declarations whose headers the declaration's header needs."""
    found = []

    def add(type_ref):
        target = type_ref.target
        if isinstance(target, Decl) and target.top is not decl.top and target.top not in found:
            found.append(target.top)
        for arg in type_ref.args:
            add(arg)

    for nested in decl.walk():
        for field in nested.fields:
            add(field.type)
        for value in [f.default_value for f in nested.fields]:
            if isinstance(value, EnumValue) and value.decl.top is not decl.top:
                if value.decl.top not in found:
                    found.append(value.decl.top)
    return sorted(found, key=lambda d: d.qualified)


def sorted_nested(decl):
    """Nested types in an order where each comes after the nested types it uses."""
    pending = list(decl.nested)
    done = []

    def uses(a, b):
        for nested in a.walk():
            for field in nested.fields:
                stack = [field.type]
                while stack:
                    type_ref = stack.pop()
                    target = type_ref.target
                    if isinstance(target, Decl):
                        parent = target
                        while parent is not None:
                            if parent is b:
                                return True
                            parent = parent.parent
                    stack.extend(type_ref.args)
        return False

    while pending:
        for candidate in pending:
            if not any(other is not candidate and uses(candidate, other) for other in pending):
                break
        else:
            raise AidlError(decl.where,
                            f"the nested types of {decl.name} use each other in a cycle")
        pending.remove(candidate)
        done.append(candidate)
    return done


class Generator:
    def __init__(self, aidl_file):
        self.file = aidl_file
        self.decl = aidl_file.decl
        self.all = list(self.decl.walk())
        self.generic = bool(self.decl.type_params)

    # --- paths

    def header_path(self, name=None):
        return os.path.join("include", "aidl", *self.decl.package.split("."),
                            (name or self.decl.name) + ".h")

    def include(self, decl, name=None):
        return "<aidl/" + "/".join(decl.package.split(".")) + f"/{name or decl.name}.h>"

    def source_path(self):
        return os.path.join(*self.decl.package.split("."), self.decl.name + ".cpp")

    def bn_name(self):
        name = self.decl.name
        return "Bn" + (name[1:] if re.match(r"I[A-Z]", name) else name)

    def outputs(self):
        outputs = [self.header_path(), self.source_path()]
        if self.decl.kind == "interface":
            outputs.append(self.header_path(self.bn_name()))
        return outputs

    # --- header

    def header(self):
        out = Writer()
        out.line(f"// Generated from {self.decl.qualified}.aidl by generate_ndk.py: do not edit.")
        out.line("#pragma once")
        out.line()
        for include in self.std_includes():
            out.line(f"#include <{include}>")
        out.line()
        for include in self.platform_includes():
            out.line(f"#include <{include}>")
        out.line()
        tops = referenced_tops(self.decl)
        for top in tops:
            out.line(f"#include {self.include(top)}")
        out.line()
        out.line(f"namespace {self.decl.namespace} {{")
        out.line()
        self.declaration(out, self.decl)
        if self.generic:
            out.line()
            self.definitions(out, self.decl, inline=True)
        enums = [d for d in self.all if d.kind == "enum"]
        tagged = [d for d in self.all if d.kind == "union"]
        if enums or tagged:
            out.line()
            for decl in enums:
                self.enum_to_string(out, decl, f"{cpp_name(decl, None)}",
                                    [(e.name, e.value) for e in decl.enumerators])
            for decl in tagged:
                self.enum_to_string(out, decl, f"{cpp_name(decl, None)}::Tag",
                                    [(f.name, i) for i, f in enumerate(decl.fields)])
        out.line()
        out.line(f"}}  // namespace {self.decl.namespace}")
        if enums or tagged:
            out.line()
            out.line("namespace ndk::internal {")
            out.line()
            for decl in enums:
                self.enum_values(out, qualified_cpp_name(decl),
                                 [e.name for e in decl.enumerators])
            for decl in tagged:
                self.enum_values(out, qualified_cpp_name(decl) + "::Tag",
                                 [f.name for f in decl.fields])
            out.line("}  // namespace ndk::internal")
        return out.text()

    def std_includes(self):
        includes = {"cstdint", "string"}
        kinds = {d.kind for d in self.all}
        types = [f.type for d in self.all for f in d.fields]
        if kinds & {"parcelable", "union"}:
            includes |= {"tuple", "type_traits"}
        if "union" in kinds:
            includes |= {"cassert", "cstddef", "initializer_list", "utility", "variant"}
        if "enum" in kinds or "union" in kinds:
            includes.add("array")
        if any(t.array for t in types):
            includes.add("vector")
        if any(t.nullable and not is_nullable_handle(t) for t in types):
            includes.add("optional")
        if "interface" in kinds or any(isinstance(t.target, Decl) and
                                       t.target.kind == "interface" for t in types):
            includes.add("memory")
        if self.generic:
            includes.add("sstream")
        return sorted(includes)

    def platform_includes(self):
        includes = {"android/binder_parcel.h"}
        kinds = {d.kind for d in self.all}
        types = [f.type for d in self.all for f in d.fields]
        if "enum" in kinds or "union" in kinds:
            includes.add("android/binder_enums.h")
        if "interface" in kinds:
            includes.add("android/binder_interface_utils.h")
        if any(t.target in ("ParcelFileDescriptor", "IBinder") for t in types):
            includes.add("android/binder_auto_utils.h")
        if self.generic:
            includes |= {"android/binder_parcel_utils.h", "android/binder_to_string.h"}
        return sorted(includes)

    def declaration(self, out, decl):
        if decl.kind == "enum":
            out.line(f"enum class {decl.name} : {BACKING_TYPES[decl.backing]} {{")
            out.indent()
            for enumerator in decl.enumerators:
                value = cpp_int(enumerator.value, decl.backing)
                out.line(f"{enumerator.name} = {value},")
            out.dedent()
            out.line("};")
            return
        if decl.type_params:
            out.line(template_prefix(decl).rstrip("\n"))
        if decl.kind == "interface":
            out.line(f"class {decl.name} : public ::ndk::ICInterface {{")
        else:
            out.line(f"class {decl.name} {{")
        out.line("  public:")
        out.indent()
        if decl.kind != "interface":
            fixed = "true" if "FixedSize" in decl.annotations else "false"
            out.line(f"typedef std::{fixed}_type fixed_size;")
        out.line("static const char* descriptor;")
        out.line()
        for nested in sorted_nested(decl):
            self.declaration(out, nested)
            out.line()
        self.constants(out, decl)
        if decl.kind == "parcelable":
            self.parcelable_members(out, decl)
        elif decl.kind == "union":
            self.union_members(out, decl)
        else:
            self.interface_members(out, decl)
        out.dedent()
        out.line("};")

    def constants(self, out, decl):
        for constant in decl.constants:
            type_name = constant.type.target
            if type_name in BACKING_TYPES or type_name == "char":
                cpp = BUILTIN_TYPES[type_name]
                out.line(f"enum : {cpp} {{ {constant.name} = "
                         f"{cpp_value(constant.value, constant.type, decl)} }};")
            elif type_name == "String":
                out.line(f"static const char* {constant.name};")
            else:
                cpp = BUILTIN_TYPES[type_name]
                out.line(f"static constexpr {cpp} {constant.name} = "
                         f"{cpp_value(constant.value, constant.type, decl)};")
        if decl.constants:
            out.line()

    def comparisons(self, out, decl, left, right):
        name = decl.name
        parameter = "rhs" if "rhs" in right else "/*rhs*/"
        for op in ("==", "!=", "<", "<=", ">", ">="):
            out.line(f"inline bool operator{op}(const {name}& {parameter}) const {{")
            out.line(f"    return {left} {op} {right};")
            out.line("}")

    def parcelable_members(self, out, decl):
        for field in decl.fields:
            out.line(f"{cpp_type(field.type, decl)} {field.name}"
                     f"{default_initializer(field, decl)};")
        if decl.fields:
            out.line()
        out.line("binder_status_t readFromParcel(const AParcel* parcel);")
        out.line("binder_status_t writeToParcel(AParcel* parcel) const;")
        out.line()
        names = [f.name for f in decl.fields]
        left = "std::tie(" + ", ".join(names) + ")"
        right = "std::tie(" + ", ".join(f"rhs.{n}" for n in names) + ")"
        self.comparisons(out, decl, left, right)
        out.line()
        out.line("std::string toString() const;")

    def union_members(self, out, decl):
        name = decl.name
        for field in decl.fields:
            if field.name in UNION_HELPER_NAMES:
                raise AidlError(field.where, f"union alternative name {field.name} is reserved")
        out.line("enum class Tag : int32_t {")
        out.indent()
        for index, field in enumerate(decl.fields):
            out.line(f"{field.name} = {index},")
        out.dedent()
        out.line("};")
        out.line()
        out.line(f"// The tags as members, so that {name}::{decl.fields[0].name} names one.")
        for field in decl.fields:
            out.line(f"static const inline Tag {field.name} = Tag::{field.name};")
        out.line()
        out.line("template <typename ValueType>")
        out.line("static constexpr bool kNotSelf =")
        out.line(f"        !std::is_same_v<std::remove_cv_t<std::remove_reference_t<ValueType>>, "
                 f"{name}>;")
        out.line()
        first = decl.fields[0]
        if first.default_value is not None:
            value = cpp_value(first.default_value, first.type, decl)
            out.line(f"{name}() : _value(std::in_place_index<0>, "
                     f"{cpp_type(first.type, decl)}({value})) {{}}")
        else:
            out.line(f"{name}() = default;")
        out.block(f"""
// Holds the alternative whose type value converts to; that type must be unique among the
// alternatives.
template <typename ValueType, typename = std::enable_if_t<kNotSelf<ValueType>>>
constexpr {name}(ValueType&& value)  // NOLINT(google-explicit-constructor)
    : _value(std::forward<ValueType>(value)) {{}}
template <size_t Index, typename... Args>
constexpr explicit {name}(std::in_place_index_t<Index>, Args&&... args)
    : _value(std::in_place_index<Index>, std::forward<Args>(args)...) {{}}

template <Tag TagValue, typename... Args>
static {name} make(Args&&... args) {{
    return {name}(std::in_place_index<static_cast<size_t>(TagValue)>, std::forward<Args>(args)...);
}}
template <Tag TagValue, typename List, typename... Args>
static {name} make(std::initializer_list<List> list, Args&&... args) {{
    return {name}(std::in_place_index<static_cast<size_t>(TagValue)>, list,
            std::forward<Args>(args)...);
}}

Tag getTag() const {{ return static_cast<Tag>(_value.index()); }}

// The value of the alternative TagValue, which must be the one held: check getTag() first.
template <Tag TagValue>
const auto& get() const {{
    assert(getTag() == TagValue);
    return std::get<static_cast<size_t>(TagValue)>(_value);
}}
template <Tag TagValue>
auto& get() {{
    assert(getTag() == TagValue);
    return std::get<static_cast<size_t>(TagValue)>(_value);
}}
template <Tag TagValue, typename... Args>
void set(Args&&... args) {{
    _value.template emplace<static_cast<size_t>(TagValue)>(std::forward<Args>(args)...);
}}

binder_status_t readFromParcel(const AParcel* parcel);
binder_status_t writeToParcel(AParcel* parcel) const;
""")
        out.line()
        self.comparisons(out, decl, "_value", "rhs._value")
        out.line()
        out.line("std::string toString() const;")
        out.line()
        out.dedent()
        out.line("  private:")
        out.indent()
        alternatives = ", ".join(cpp_type(f.type, decl) for f in decl.fields)
        out.line(f"std::variant<{alternatives}> _value;")

    def interface_members(self, out, decl):
        name = decl.name
        out.block(f"""
{name}();
~{name}() override;

// The object behind binder: null when binder is null or not of this interface.
static std::shared_ptr<{name}> fromBinder(const ::ndk::SpAIBinder& binder);
// An interface travels as its binder; null writes a null binder.
static binder_status_t writeToParcel(AParcel* parcel,
        const std::shared_ptr<{name}>& instance);
// A binder that is not of this interface reads as null, as on the platform.
static binder_status_t readFromParcel(const AParcel* parcel,
        std::shared_ptr<{name}>* instance);
""")

    def enum_to_string(self, out, decl, cpp, enumerators):
        out.line(f"[[nodiscard]] inline std::string toString({cpp} value) {{")
        out.indent()
        out.line("switch (value) {")
        out.indent()
        seen = set()
        for name, value in enumerators:
            if value in seen:
                continue  # an alias: the first name of a value is its text
            seen.add(value)
            out.line(f"case {cpp}::{name}:")
            out.line(f'    return "{name}";')
        out.line("default:")
        backing = "int32_t" if cpp.endswith("::Tag") else BACKING_TYPES[decl.backing]
        out.line(f"    return std::to_string(static_cast<{backing}>(value));")
        out.dedent()
        out.line("}")
        out.dedent()
        out.line("}")
        out.line()

    def enum_values(self, out, cpp, names):
        out.line("template <>")
        out.line(f"constexpr inline std::array<{cpp}, {len(names)}>")
        out.line(f"        enum_values<{cpp}> = {{")
        for name in names:
            out.line(f"        {cpp}::{name},")
        out.line("};")
        out.line()

    # --- member definitions (the source, or the header of a generic type)

    def definitions(self, out, decl, inline):
        for nested in decl.walk():
            if nested.kind in ("enum", "interface"):
                continue
            prefix = template_prefix(decl) if inline else ""
            owner = own_name(nested)
            out.block(f'{prefix}const char* {owner}::descriptor = "{nested.qualified}";')
            out.line()
            for constant in nested.constants:
                if constant.type.target == "String":
                    out.line(f"const char* {owner}::{constant.name} = "
                             f"{cpp_string(constant.value)};")
            if any(c.type.target == "String" for c in nested.constants):
                out.line()
            if nested.kind == "parcelable":
                self.parcelable_definitions(out, nested, prefix, owner)
            else:
                self.union_definitions(out, nested, prefix, owner)

    def parcelable_definitions(self, out, decl, prefix, owner):
        # The platform's framing, written out: an int32 size header (the size of the whole
        # parcelable, the header included), then the fields. The reader reads fields only while
        # the position is inside the declared size, so fields that an older writer did not know
        # keep their defaults, and then moves to the declared end, skipping fields that a newer
        # writer added.
        out.block(f"""
{prefix}binder_status_t {owner}::readFromParcel(const AParcel* _aidl_parcel) {{
    binder_status_t _aidl_ret_status = STATUS_OK;
    int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);
    int32_t _aidl_parcelable_size = 0;
    _aidl_ret_status = AParcel_readInt32(_aidl_parcel, &_aidl_parcelable_size);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    if (_aidl_parcelable_size < 4) return STATUS_BAD_VALUE;
    if (_aidl_start_pos > INT32_MAX - _aidl_parcelable_size) return STATUS_BAD_VALUE;
""")
        out.indent()
        for field in decl.fields:
            out.block("""
if (AParcel_getDataPosition(_aidl_parcel) - _aidl_start_pos >= _aidl_parcelable_size) {
    AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);
    return _aidl_ret_status;
}
""")
            out.line(f"_aidl_ret_status = ::ndk::{read_function(field.type)}(_aidl_parcel, "
                     f"&{member_expr(field.name)});")
            out.line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;")
        out.line("AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);")
        out.line("return _aidl_ret_status;")
        out.dedent()
        out.line("}")
        out.line()
        out.block(f"""
{prefix}binder_status_t {owner}::writeToParcel(AParcel* _aidl_parcel) const {{
    binder_status_t _aidl_ret_status;
    int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);
    _aidl_ret_status = AParcel_writeInt32(_aidl_parcel, 0);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
""")
        out.indent()
        for field in decl.fields:
            out.line(f"_aidl_ret_status = ::ndk::{write_function(field.type)}(_aidl_parcel, "
                     f"{member_expr(field.name)});")
            out.line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;")
        out.block("""
int32_t _aidl_end_pos = AParcel_getDataPosition(_aidl_parcel);
AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos);
AParcel_writeInt32(_aidl_parcel, _aidl_end_pos - _aidl_start_pos);
AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);
return _aidl_ret_status;
""")
        out.dedent()
        out.line("}")
        out.line()
        out.block(f"{prefix}std::string {owner}::toString() const {{")
        out.indent()
        out.line("std::ostringstream os;")
        out.line(f'os << "{decl.name}{{";')
        for index, field in enumerate(decl.fields):
            separator = ", " if index else ""
            out.line(f'os << "{separator}{field.name}: " << '
                     f"::android::internal::ToString({member_expr(field.name)});")
        out.line('os << "}";')
        out.line("return os.str();")
        out.dedent()
        out.line("}")
        out.line()

    def union_definitions(self, out, decl, prefix, owner):
        # The platform's framing, written out: an int32 tag (the alternative's index, in
        # declaration order), then the alternative as a field of its type; no size header. An
        # unknown tag is STATUS_BAD_VALUE; the value changes only once the whole alternative has
        # been read.
        out.block(f"""
{prefix}binder_status_t {owner}::readFromParcel(const AParcel* _aidl_parcel) {{
    binder_status_t _aidl_ret_status;
    int32_t _aidl_tag;
    if ((_aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &_aidl_tag)) != STATUS_OK) {{
        return _aidl_ret_status;
    }}
    switch (static_cast<Tag>(_aidl_tag)) {{
""")
        out.indent()
        for field in decl.fields:
            value_type = cpp_type(field.type, decl)
            out.block(f"""
case {field.name}: {{
    {value_type} _aidl_value;
    if ((_aidl_ret_status = ::ndk::{read_function(field.type)}(_aidl_parcel, &_aidl_value)) !=
        STATUS_OK) {{
        return _aidl_ret_status;
    }}
    if constexpr (std::is_trivially_copyable_v<{value_type}>) {{
        set<{field.name}>(_aidl_value);
    }} else {{
        // NOLINTNEXTLINE(performance-move-const-arg)
        set<{field.name}>(std::move(_aidl_value));
    }}
    return STATUS_OK;
}}
""")
        out.line("}")
        out.line("return STATUS_BAD_VALUE;")
        out.dedent()
        out.line("}")
        out.line()
        out.block(f"""
{prefix}binder_status_t {owner}::writeToParcel(AParcel* _aidl_parcel) const {{
    binder_status_t _aidl_ret_status =
            ::ndk::AParcel_writeData(_aidl_parcel, static_cast<int32_t>(getTag()));
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    switch (getTag()) {{
""")
        out.indent()
        for field in decl.fields:
            out.line(f"case {field.name}:")
            out.line(f"    return ::ndk::{write_function(field.type)}(_aidl_parcel, "
                     f"get<{field.name}>());")
        out.line("}")
        out.line("return STATUS_BAD_VALUE;  // not reached: the value holds one of the alternatives")
        out.dedent()
        out.line("}")
        out.line()
        out.block(f"""
{prefix}std::string {owner}::toString() const {{
    std::ostringstream os;
    os << "{decl.name}{{";
    switch (getTag()) {{
""")
        out.indent()
        out.indent()
        for field in decl.fields:
            out.line(f"case Tag::{field.name}:")
            out.line(f'    os << "{field.name}: " << '
                     f"::android::internal::ToString(get<Tag::{field.name}>());")
            out.line("    break;")
        out.dedent()
        out.line("}")
        out.line('os << "}";')
        out.line("return os.str();")
        out.dedent()
        out.line("}")
        out.line()

    def source(self):
        out = Writer()
        out.line(f"// Generated from {self.decl.qualified}.aidl by generate_ndk.py: do not edit.")
        out.line(f"#include {self.include(self.decl)}")
        if self.decl.kind == "interface":
            out.line(f"#include {self.include(self.decl, self.bn_name())}")
        if self.generic or self.decl.kind == "enum":
            out.line()
            out.line(f"// Everything of {self.decl.name} is in its header; compiling it here checks"
                     " that the header stands on its own.")
            return out.text()
        out.line()
        out.line("#include <sstream>")
        out.line("#include <string>")
        out.line()
        out.line("#include <android/binder_parcel_utils.h>")
        if self.decl.kind == "interface" and "VintfStability" in self.decl.annotations:
            out.line("#include <android/binder_stability.h>")
        out.line("#include <android/binder_to_string.h>")
        out.line()
        out.line(f"namespace {self.decl.namespace} {{")
        out.line()
        if self.decl.kind == "interface":
            self.interface_definitions(out)
        for nested in self.decl.nested if self.decl.kind == "interface" else [self.decl]:
            self.definitions(out, nested, inline=False)
        out.line(f"}}  // namespace {self.decl.namespace}")
        return out.text()

    def interface_definitions(self, out):
        name, bn = self.decl.name, self.bn_name()
        vintf = "VintfStability" in self.decl.annotations
        # Unique names, as the sources of a library may be compiled as one unit.
        mangled = self.decl.qualified.replace(".", "_")
        on_transact, clazz = f"_aidl_{mangled}_onTransact", f"_g_aidl_{mangled}_clazz"
        out.block(f"""
const char* {name}::descriptor = "{self.decl.qualified}";
""")
        for constant in self.decl.constants:
            if constant.type.target == "String":
                out.line(f"const char* {name}::{constant.name} = {cpp_string(constant.value)};")
        out.line()
        out.block(f"""
// The interface declares no methods: every transaction is unknown.
static binder_status_t {on_transact}(
        AIBinder* /*_aidl_binder*/, transaction_code_t /*_aidl_code*/,
        const AParcel* /*_aidl_in*/, AParcel* /*_aidl_out*/) {{
    return STATUS_UNKNOWN_TRANSACTION;
}}

static AIBinder_Class* {clazz} =
        ::ndk::ICInterface::defineClass({name}::descriptor, {on_transact});

{name}::{name}() = default;
{name}::~{name}() = default;

std::shared_ptr<{name}> {name}::fromBinder(const ::ndk::SpAIBinder& binder) {{
    if (!AIBinder_associateClass(binder.get(), {clazz})) {{
        return nullptr;
    }}
    return std::static_pointer_cast<{name}>(::ndk::ICInterface::asInterface(binder.get()));
}}

binder_status_t {name}::writeToParcel(AParcel* parcel, const std::shared_ptr<{name}>& instance) {{
    return AParcel_writeStrongBinder(parcel, instance ? instance->asBinder().get() : nullptr);
}}

binder_status_t {name}::readFromParcel(const AParcel* parcel, std::shared_ptr<{name}>* instance) {{
    ::ndk::SpAIBinder binder;
    binder_status_t status = AParcel_readStrongBinder(parcel, binder.getR());
    if (status != STATUS_OK) return status;
    *instance = {name}::fromBinder(binder);
    return STATUS_OK;
}}

{bn}::{bn}() = default;
{bn}::~{bn}() = default;

::ndk::SpAIBinder {bn}::createBinder() {{
    AIBinder* binder = AIBinder_new({clazz}, static_cast<void*>(this));
""")
        if vintf:
            out.line("    AIBinder_markVintfStability(binder);")
        out.block("""
    return ::ndk::SpAIBinder(binder);
}
""")
        out.line()

    def bn_header(self):
        name, bn = self.decl.name, self.bn_name()
        out = Writer()
        out.line(f"// Generated from {self.decl.qualified}.aidl by generate_ndk.py: do not edit.")
        out.block(f"""
#pragma once

#include <android/binder_interface_utils.h>

#include {self.include(self.decl)}

namespace {self.decl.namespace} {{

// The local side of {name}: derive from it, make the object with ndk::SharedRefBase::make.
class {bn} : public ::ndk::BnCInterface<{name}> {{
  public:
    {bn}();
    ~{bn}() override;

  protected:
    ::ndk::SpAIBinder createBinder() override;
}};

}}  // namespace {self.decl.namespace}
""")
        return out.text()


def write_if_changed(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    try:
        with open(path, encoding="utf-8") as f:
            if f.read() == text:
                os.utime(path)  # so that the build sees it as up to date
                return
    except FileNotFoundError:
        pass
    with open(path, "w", encoding="utf-8") as f:
        f.write(text)


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--root", required=True, help="the folder of the AIDL package tree")
    parser.add_argument("--out", required=True, help="the folder to write into")
    parser.add_argument("--list-outputs", action="store_true",
                        help="print the paths of the outputs instead of writing them")
    parser.add_argument("--list-parcelables", action="store_true",
                        help="print the header and C++ name of every non-generic parcelable and "
                        "union instead of writing the outputs")
    parser.add_argument("files", nargs="+", help=".aidl files under --root")
    args = parser.parse_args(argv)

    tree = Tree(args.root)
    try:
        generators = []
        for path in sorted(args.files):
            aidl_file = tree.load(path)
            tree.analyse(aidl_file)
            generators.append(Generator(aidl_file))
        for generator in generators:
            if args.list_parcelables:
                for decl in generator.all:
                    if decl.kind in ("parcelable", "union") and not decl.top.type_params:
                        print(generator.include(decl.top), qualified_cpp_name(decl))
                continue
            paths = [os.path.join(args.out, p) for p in generator.outputs()]
            if args.list_outputs:
                print("\n".join(paths))
                continue
            texts = [generator.header(), generator.source()]
            if generator.decl.kind == "interface":
                texts.append(generator.bn_header())
            for path, text in zip(paths, texts):
                write_if_changed(path, text)
    except AidlError as error:
        print(f"error: {error}", file=sys.stderr)
        return 1
    except OSError as error:
        print(f"error: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
