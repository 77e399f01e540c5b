#!/usr/bin/env python3
"""Checks that the host binder NDK declares nothing the platform's binder NDK lacks.

Every header of host/binder_ndk/include must be one of the platform's, and every declaration in it
(C functions, typedefs, enumerators, macros, and the ndk:: and android::internal classes, their
public members, functions and templates) must exist in the platform's headers under the same
qualified name, with the same type where it has one (template parameter names aside). Declarations the platform has and the host lacks are fine: the host offers
a subset. Both sets of headers are read by Clang (its JSON dump of the declarations), with the
device's libc++ and forced macros.

Usage: check_api.py SDK_DIR   (the layout of the device SDK: SDK_DIR/include/binder_ndk/android/...)
Prints every declaration it misses and exits 1, or prints a summary and exits 0.
"""

import json
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
HOST_INCLUDE = os.path.join(HERE, "include")
LIBCXX = "/usr/lib/llvm-14/include/c++/v1"
# Clang prints the declarations whose qualified names contain one of these.
FILTERS = ["ndk", "android", "AParcel", "AIBinder", "AStatus", "STATUS_", "EX_", "binder_",
           "transaction_code_t"]
SKIPPED_KINDS = {"TemplateTypeParmDecl", "NonTypeTemplateParmDecl", "ParmVarDecl",
                 "TemplateTemplateParmDecl", "AccessSpecDecl", "FriendDecl", "UsingDecl",
                 "StaticAssertDecl", "EmptyDecl"}
SCOPE_KINDS = {"NamespaceDecl", "CXXRecordDecl", "ClassTemplateDecl", "LinkageSpecDecl",
               "RecordDecl", "EnumDecl"}


def dump(include_dir, headers, platform_macros):
    """The JSON objects Clang dumps for a unit that includes headers from include_dir."""
    with tempfile.NamedTemporaryFile("w", suffix=".cpp", delete=False) as unit:
        unit.write("".join(f"#include <android/{h}>\n" for h in headers))
    objects = []
    try:
        for name in FILTERS:
            command = ["clang++", "-std=c++20", "-nostdinc++", "-isystem", LIBCXX, "-include",
                       platform_macros, "-isystem", include_dir, "-fsyntax-only", "-Xclang",
                       "-ast-dump=json", "-Xclang", f"-ast-dump-filter={name}", unit.name]
            result = subprocess.run(command, capture_output=True, text=True)
            if result.returncode != 0:
                sys.exit(f"error: clang failed on the headers of {include_dir}:\n{result.stderr}")
            decoder, text, pos = json.JSONDecoder(), result.stdout, 0
            while True:
                while pos < len(text) and text[pos].isspace():
                    pos += 1
                if pos == len(text):
                    break
                value, pos = decoder.raw_decode(text, pos)
                objects.append(value)
    finally:
        os.unlink(unit.name)
    return objects


class Collector:
    """Walks dumped declarations in order, keeping track of the file Clang last named (it names a
    file only where it changes), and records (qualified name, kind, type) per declaration."""

    def __init__(self):
        self.file = None
        self.found = {}  # (qualified name, group) -> set of types

    def note_files(self, node):
        for key in ("loc", "range"):
            self.visit_location(node.get(key))

    def visit_location(self, location):
        if isinstance(location, dict):
            if "file" in location:
                self.file = location["file"]
            for key, value in location.items():
                if key != "includedFrom":  # the includer, not the place
                    self.visit_location(value)

    def walk(self, node, scope, template_params, keep):
        kind = node.get("kind", "")
        self.visit_location(node.get("loc"))
        decl_file = self.file
        self.visit_location(node.get("range"))
        if node.get("isImplicit") or kind in SKIPPED_KINDS or not kind.endswith("Decl"):
            self.walk_children(node, scope, template_params, keep)
            return
        name = node.get("name", "")
        if kind == "LinkageSpecDecl" or (kind == "NamespaceDecl" and not name):
            self.walk_children(node, scope + (["(anonymous)"] if kind == "NamespaceDecl" else []),
                               template_params, keep)
            return
        params = template_params
        if kind.endswith("TemplateDecl"):
            params = [p.get("name", "") for p in node.get("inner", [])
                      if p.get("kind", "").startswith("Template") and p.get("kind") != kind]
        qualified = "::".join(scope + [name]) if name else None
        if qualified and keep(decl_file) and kind not in ("NamespaceDecl",):
            group = "template" if kind.endswith("TemplateDecl") else kind
            type_text = normalise(node.get("type", {}).get("qualType"), params)
            if kind == "EnumConstantDecl":
                type_text = f"{type_text}={enumerator_value(node)}"
            self.found.setdefault((qualified, group), set()).add(type_text)
        if kind.endswith("TemplateDecl"):
            for child in node.get("inner", []):
                self.walk(child, scope, params, keep)  # the templated declaration, same name
            return
        if kind in SCOPE_KINDS:
            inner_scope = scope + [name] if name else scope
            self.walk_children(node, inner_scope, params if kind.endswith("RecordDecl") else [],
                               keep)

    def walk_children(self, node, scope, template_params, keep):
        # Only the public members of a class are its API; Clang gives access as the access
        # specifiers between them.
        access = "private" if node.get("tagUsed") == "class" else "public"
        for child in node.get("inner", []):
            if not isinstance(child, dict):
                continue
            if child.get("kind") == "AccessSpecDecl":
                access = child.get("access", access)
            if access == "public" or not node.get("kind", "").endswith("RecordDecl"):
                self.walk(child, scope, template_params, keep)
            else:
                self.note_files(child)


def enumerator_value(node):
    """The value Clang computed for an enumerator (None when it has no initializer)."""
    for child in node.get("inner", []):
        if isinstance(child, dict) and "value" in child:
            return child["value"]
    return None


def normalise(type_text, params):
    if type_text is None:
        return None
    # Anonymous types are named by their place.
    type_text = re.sub(r"\((unnamed|anonymous)[^)]*\)", "(unnamed)", type_text)
    for index, param in enumerate(params):
        if param:
            type_text = re.sub(rf"\b{re.escape(param)}\b", f"$T{index}", type_text)
    type_text = re.sub(r"\bstruct |\bclass |\benum ", "", type_text)
    return re.sub(r"\s+", "", type_text)


def collect(objects, keep):
    collector = Collector()
    for value in objects:
        collector.walk(value, [], [], keep)
    return collector.found


def main(argv):
    if len(argv) != 2 or not os.path.isdir(os.path.join(argv[1], "include", "binder_ndk")):
        sys.exit("usage: check_api.py SDK_DIR\n"
                 "SDK_DIR holds the platform's headers as include/binder_ndk/android/*.h and the "
                 "forced macros as include/platform_macros.h (see ../shared/device-sdk)")
    sdk = os.path.abspath(argv[1])
    macros = os.path.join(sdk, "include", "platform_macros.h")
    real_include = os.path.join(sdk, "include", "binder_ndk")
    host_headers = sorted(os.listdir(os.path.join(HOST_INCLUDE, "android")))
    missing_files = [h for h in host_headers
                     if not os.path.isfile(os.path.join(real_include, "android", h))]
    problems = [f"header android/{h}: the platform has no such header" for h in missing_files]

    ours = collect(dump(HOST_INCLUDE, host_headers, macros),
                   lambda f: f is not None and f.startswith(HOST_INCLUDE))
    # The platform's headers of the same names, and what they include.
    real_headers = [h for h in host_headers if h not in missing_files]
    real = collect(dump(real_include, real_headers, macros), lambda f: True)

    def macros_of(folder):
        names = set()
        for header in os.listdir(folder):
            with open(os.path.join(folder, header), encoding="utf-8") as f:
                names |= set(re.findall(r"^\s*#\s*define\s+(\w+)", f.read(), re.M))
        return names

    real_macros = macros_of(os.path.join(real_include, "android"))
    for macro in sorted(macros_of(os.path.join(HOST_INCLUDE, "android")) - real_macros):
        problems.append(f"macro {macro}: not defined by the platform")
    for (name, group), types in sorted(ours.items()):
        if (name, group) not in real:
            problems.append(f"{group} {name}: not declared by the platform")
            continue
        extra = {t for t in types if t is not None} - real[(name, group)]
        for type_text in sorted(extra):
            problems.append(f"{group} {name}: type {type_text} is not one of the platform's "
                            f"{sorted(t for t in real[(name, group)] if t)}")
    for line in problems:
        print(line)
    print(f"{len(ours)} host declarations checked against {len(real)} of the platform: "
          f"{len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
