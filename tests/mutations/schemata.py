"""Puts many mutations into one program; an environment variable selects one when the program starts. So the
code is built once instead of once for each mutation.

A mutation within a statement becomes `if (mutated(7)) { changed } else { original }`. One within a condition
or an initializer becomes a conditional expression. Mutations that cannot be expressed like this are left to
the caller: for example those of default arguments, constant expressions and constructors' initializers.
"""

import re

from mutations import closing, is_in_class, is_rest, without_comments

VARIABLE = "QZSTORAGE_MUTATION"
# Each mutated text has its own file name for the compiler, so that its messages name the mutation.
MARK = "mutation-"
HEADER = """#pragma once
#include <cstdlib>

inline const long chosenMutation = [] {
    const char* text = std::getenv("%s");
    return text == nullptr ? -1 : std::atol(text);
}();

inline bool mutated(long number) {
    return chosenMutation == number;
}
""" % VARIABLE
HEADER_NAME = "inmemoryprovider/Mutated.h"

# A name after a type: a declaration. Its scope must not change, so only its initializer can be replaced.
DECLARATION = re.compile(r"(const|static|mutable)\b|[\w:]+(<[^;()]*>)?[&*]* [&*]*[\w\[]")
EXPRESSION = re.compile(r"(return|throw|delete)\b")
OTHER = re.compile(r"(case|default|using|static_assert|friend|public|private|protected|template|namespace|struct|class|"
                   r"enum|typedef|explicit|virtual|inline|else|do|(static )?constexpr)\b|\[\[")


class Unit:
    """A piece of code, [begin, end), with alternatives that can be selected at run time. Holds the mutations
    within it, and the smaller units that contain mutations."""

    def __init__(self, begin, end, kind):
        self.begin = begin
        self.end = end
        self.kind = kind  # "expression", "condition" or "statement"
        self.mutations = []
        self.children = []

    def contains(self, other):
        return self.begin <= other.begin and other.end <= self.end

    def is_nested_or_apart(self, other):
        return self.contains(other) or other.contains(self) or other.end <= self.begin or self.end <= other.begin


def is_in_parentheses(code, position):
    """True in the head of a `for`; also in an argument list, but not in the body of a lambda there."""
    depth = 0
    while position > 0:
        position -= 1
        if code[position] in ")}":
            depth += 1
        elif code[position] in "({":
            if depth == 0:
                return code[position] == "("
            depth -= 1
    return False


def statement_unit(code, begin):
    depth = 0
    end = begin
    initializer = None
    while end < len(code) and (depth > 0 or code[end] not in ";{}"):
        if depth == 0 and initializer is None and code[end:end + 3] == " = ":
            initializer = end + 3
        depth += (code[end] in "([") - (code[end] in ")]")
        end += 1
    text = code[begin:end]
    if code[end:end + 1] != ";" or OTHER.match(text) or is_rest(code, begin) or is_in_parentheses(code, begin):
        return None
    if is_in_class(code, begin) or (DECLARATION.match(text) and not EXPRESSION.match(text)):
        return Unit(initializer, end, "expression") if initializer else None
    return Unit(begin, end + 1, "statement")


def units(code):
    found = []
    for match in re.finditer(r"\b(if|while) \(", code):
        begin, end = match.end(), closing(code, match.end() - 1) - 1
        if ";" not in code[begin:end] and not DECLARATION.match(code[begin:end]):
            found.append(Unit(begin, end, "condition"))
    for match in re.finditer(r"(?<=[;{}])\s*(?=[^\s;{}#])", code):
        unit = statement_unit(code, match.end())
        if unit:
            found.append(unit)
    return found


def assigned(code, mutations):
    """Returns the outermost units that contain mutations. A mutation that fits no unit is in none of them."""
    available = sorted(units(code), key=lambda unit: unit.end - unit.begin)
    used = {}
    for mutation in mutations:
        if mutation.kind == "exchanged":
            unit = Unit(mutation.begin, mutation.end, "statement")
        else:
            unit = next((each for each in available if each.contains(mutation)), None)
        if unit and all(unit.is_nested_or_apart(each) for each in used.values()):
            used.setdefault((unit.begin, unit.end), unit).mutations.append(mutation)
    outermost = []
    for unit in sorted(used.values(), key=lambda each: (each.begin, -each.end)):
        siblings = outermost
        while siblings and siblings[-1].contains(unit):
            siblings = siblings[-1].children
        siblings.append(unit)
    return outermost


class Writer:
    """Writes the source of one file with all alternatives."""

    def __init__(self, path, source, numbers):
        self.path = path
        self.source = source
        self.numbers = numbers  # of the mutations

    def place(self, position):
        return f'\n#line {self.source.count(chr(10), 0, position) + 1} "{self.path}"\n'

    def mutated(self, unit, mutation):
        text = self.source[unit.begin:mutation.begin] + mutation.text + self.source[mutation.end:unit.end]
        return f'\n#line 1 "{MARK}{self.numbers[mutation.id]}"\n{text}\n'

    def choice(self, unit):
        original = self.place(unit.begin) + self.joined(unit.begin, unit.end, unit.children) + "\n"
        result = ""
        for mutation in unit.mutations:
            test = f"::mutated({self.numbers[mutation.id]})"
            text = self.mutated(unit, mutation)
            if unit.kind == "statement":
                result += f"if ({test}) {{{text}}} else "
            elif unit.kind == "condition":
                result += f"{test} ? static_cast<bool>({text}) : "
            else:
                result += f"{test} ? ({text}) : "
        if unit.kind == "statement":
            return result + f"{{{original}}}"
        return result + (f"static_cast<bool>({original})" if unit.kind == "condition" else f"({original})")

    def joined(self, begin, end, children):
        result = ""
        for unit in children:
            result += self.source[begin:unit.begin] + self.choice(unit) + self.place(unit.end)
            begin = unit.end
        return result + self.source[begin:end]


def mutations_in(unit):
    result = list(unit.mutations)
    for child in unit.children:
        result += mutations_in(child)
    return result


class Sources:
    """The sources with all mutations except those that the compiler rejects."""

    def __init__(self, root, mutations):
        self.sources = {mutation.path: (root / mutation.path).read_text() for mutation in mutations}
        self.numbers = {mutation.id: number for number, mutation in enumerate(mutations)}
        self.contained = mutations
        self.outermost = {}  # by path

    def texts(self):
        """Returns the mutated text of each path."""
        result = {}
        for path, source in self.sources.items():
            mutations = [mutation for mutation in self.contained if mutation.path == path]
            self.outermost[path] = assigned(without_comments(source), mutations)
            text = Writer(path, source, self.numbers).joined(0, len(source), self.outermost[path])
            result[path] = f'#include "{HEADER_NAME}"\n#line 1 "{path}"\n{text}'
        self.contained = [m for outermost in self.outermost.values() for unit in outermost for m in mutations_in(unit)]
        return result

    def drop_rejected(self, messages):
        """Drops the mutations that the compiler's messages name. If a message names other code, drops all
        mutations in that line, or else in that file. Returns false if there is nothing to drop."""
        numbers = {int(number) for number in re.findall(MARK + r"(\d+)", messages)}
        places = re.findall(r"^(?:\S*/)?(inmemoryprovider/\S+?):(\d+):\d+: (?:fatal )?error:", messages, re.M)
        for path, line in places:
            for unit in self.outermost.get(path, []):
                lines = [self.sources[path].count("\n", 0, position) + 1 for position in (unit.begin, unit.end)]
                if lines[0] <= int(line) <= lines[1]:
                    numbers |= {self.numbers[mutation.id] for mutation in mutations_in(unit)}
        paths = {path for path, _ in places} if not numbers else set()
        before = len(self.contained)
        self.contained = [m for m in self.contained if self.numbers[m.id] not in numbers and m.path not in paths]
        return len(self.contained) < before
