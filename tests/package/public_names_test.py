#!/usr/bin/env python3
"""Every function that a public header declares must be named by a test, an example or a program.

Constructors, destructors and operators have no name to look for. An override is reached by the name
of what it overrides, so only that one is asked for. What the foundation declares, and a header that
hosts reach through others alone, may also be used by another unit of the libraries, which is tested
itself.

    public_names_test.py [ROOT]
"""
import pathlib
import re
import sys

# Functions that nothing outside the libraries has to name, each with its reason.
ALLOWED = {
    "AddUnderFlag": "the counter beside it does so where a cache line ends within it",
    "ReadUnderFlag": "as AddUnderFlag",
    "IsAligned": "as AddUnderFlag",
    "AllocateZlibMemory": "zlib calls it, as its streams are told beside it",
    "WriteDebugOutput": "DBPrintf, a template beside it, writes by it",
    "IsHighSurrogate": "what reads one character of UTF-16, beside it, asks it",
    "IsLowSurrogate": "as IsHighSurrogate",
    "ToPattern": "Encode, beside it, does the rest",
    "FromPattern": "Decode, beside it, does the rest",
    "deallocate": "the standard containers call it",
}

USERS = ("tests", "fuzz", "examples", "tools", "bench")

NO_CODE = re.compile(
    r'//[^\n]*|/\*.*?\*/|^[ \t]*#(?:\\\n|[^\n])*|R"\((?:.*?)\)"|"(?:\\.|[^"\\])*"'
    r"|(?<![0-9a-fA-F])'(?:\\.|[^'\\])+'", re.S | re.M)
KEYWORDS = {"if", "for", "while", "switch", "return", "sizeof", "alignof", "alignas", "decltype",
            "noexcept", "requires", "static_assert", "explicit", "defined", "__attribute__"}


def code_of(path):
    return NO_CODE.sub(" ", path.read_text(encoding="utf-8", errors="replace"))


def without_brackets(text, opening="<", closing=">"):
    """The text without template arguments, which may hold round brackets and commas."""
    kept, depth = [], 0
    for character in text:
        depth += character == opening
        if depth == 0:
            kept.append(character)
        depth -= character == closing and depth > 0
    return "".join(kept)


def function_name(declaration):
    """The name that a declaration gives to a function, or None if it declares none to look for."""
    if re.search(r"\b(?:operator|using|typedef|friend|override|static_assert)\b|=\s*delete",
                 declaration):
        return None
    flat = without_brackets(declaration.replace("->", "  "))
    flat = re.sub(r"\[\[.*?\]\]", " ", flat, flags=re.S)
    found = re.search(r"(~?)\b([A-Za-z_]\w*)\s*\(", flat)
    while found and found[2] in KEYWORDS:
        found = re.compile(r"(~?)\b([A-Za-z_]\w*)\s*\(").search(flat, found.end())
    # What stands behind `=` is a value, and an initialised member is no function.
    if not found or found[1] or "=" in flat[:found.start()]:
        return None
    return found[2]


class Header:
    """Collects the functions of one header by following its scopes and access labels."""

    def __init__(self, path):
        self.names = set()
        self.classes = set()
        self.scopes = [("namespace", "", True)]  # kind, name, whether what follows is public
        declaration = ""
        for part in re.findall(r"[{};]|(?:public|protected|private)\s*:(?!:)|[^{};]", code_of(path)):
            if part == "{":
                self.open(declaration)
            elif part == "}":
                self.scopes.pop()
            elif part == ";":
                self.declare(declaration)
            elif part.endswith(":") and part != ":":
                kind, name, _ = self.scopes[-1]
                self.scopes[-1] = (kind, name, part.startswith("public"))
            else:
                declaration += part
                continue
            declaration = ""
        assert len(self.scopes) == 1, f"{path}: the brackets don't match"

    def open(self, declaration):
        kind, _, public = self.scopes[-1]
        found = re.search(r"\b(?:class|struct|union)\b(?:\s+[A-Z_]+\b(?=\s+\w))?\s+(\w+)[^()]*$",
                          without_brackets(re.sub(r"alignas\([^)]*\)", "", declaration)))
        if kind == "body" or re.search(r"\benum\b", declaration):
            self.scopes.append(("body", "", False))
        elif re.search(r"\bnamespace\b", declaration):
            hidden = re.search(r"\bnamespace\s*$|[dD]etail", declaration)
            self.scopes.append(("namespace", "", public and not hidden))
        elif found and not re.search(r"\)\s*(?:const|noexcept|override|final|\s)*$", declaration):
            self.classes.add(found[1])
            # A class within something hidden stays hidden, whatever its labels say.
            starts_public = not re.search(r"\bclass\b", without_brackets(declaration))
            self.scopes.append(("class" if public else "body", found[1], starts_public))
        else:
            self.declare(declaration)
            self.scopes.append(("body", "", False))

    def declare(self, declaration):
        kind, _, public = self.scopes[-1]
        name = function_name(declaration) if kind != "body" and public else None
        if name:
            self.names.add(name)


def units_below(root, folders):
    return sorted(path for folder in folders for path in (root / folder).rglob("*")
                  if path.suffix in (".cpp", ".h"))


def words_below(root, folders):
    """The words of each unit and header below the folders, with its path from the root."""
    for path in units_below(root, folders):
        yield str(path.relative_to(root)), set(re.findall(r"\w+", code_of(path)))


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parents[2])
    listed = (root / "cmake/LarkspanPublicHeaders.cmake").read_text(encoding="utf-8")
    headers = re.findall(r"^\s*((?:foundation|Larkspan)/\S+\.h)", listed, re.M)
    declared, classes = {}, set()
    for path in headers:
        header = Header(root / path)
        classes |= header.classes
        for name in header.names:
            declared.setdefault(name, path)
    declared = {name: path for name, path in declared.items() if name not in classes}
    outside = set().union(*(words for path, words in words_below(root, USERS)))
    included = {path for user in units_below(root, USERS)
                for path in re.findall(r'#include "(\S+)"', user.read_text(encoding="utf-8"))}
    within = list(words_below(root, ("foundation", "Larkspan")))

    def is_used(name, path):
        unit = path.removesuffix(".h")
        is_plumbing = path.startswith("foundation/") or path not in included
        return name in outside or is_plumbing and any(
            name in words for user, words in within if user.rpartition(".")[0] != unit)

    used = {name for name, path in declared.items() if is_used(name, path)}
    unnamed = {name: path for name, path in declared.items()
               if name not in used and name not in ALLOWED}
    for name, place in sorted(unnamed.items(), key=lambda row: row[::-1]):
        print(f"{place}: no test, example or program names {name}")
    stale = sorted(name for name in ALLOWED if name in used or name not in declared)
    for name in stale:
        print(f"{__file__}: {name} needs no exception")
    print(f"{len(declared)} names in {len(headers)} headers")
    return 1 if unnamed or stale or len(declared) < 100 else 0


if __name__ == "__main__":
    sys.exit(main())
