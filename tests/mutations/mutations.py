"""The mutations: small changes of the plug-in's code."""

import collections
import pathlib
import re
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]

ENUMERATIONS = {
    "ErrorCode": ["FolderNotEmpty", "ReadOnly", "AlreadyExists", "NotFound"],
    "ReplacementPolicy": ["RefuseExisting", "ReplaceExisting", "RefuseExistingFile"],
    "ByteStreamAppend": ["AppendAtEnd", "WriteAtPosition"],
    "EntryType": ["File", "Folder"],
    "ios_base": ["beg", "cur", "end"],
}
EXCEPTIONS = ["EntryExistsException", "EntryNotFoundException", "FolderNotEmptyException", "ReadOnlyException"]
# Matches a statement that waits for other threads or wakes them.
WAIT = r"\b(wait|settle|wake|notify_)\w*\("
SWAPPED = {
    "==": "!=", "!=": "==", "<=": "<", ">=": ">", "<": "<=", ">": ">=", "&&": "||", "||": "&&", "+": "-", "-": "+",
    "+=": "-=", "-=": "+=", "*": "/",
}


class Mutation:
    """One change: `text` replaces [begin, end) in `path`."""

    def __init__(self, path, source, begin, end, text, kind):
        self.path = path
        self.kind = kind
        self.is_in_header = path.endswith(".h")
        self.begin = begin
        self.end = end
        self.text = text
        line = source.count("\n", 0, begin) + 1
        shown = " ".join(source[begin:end].split())
        became = " ".join(text.split()) or "nothing"
        whole_line = source[source.rfind("\n", 0, begin) + 1:source.find("\n", end)].split("\n")[0].strip()
        self.key = f"{path}: {kind}: {shown} -> {became}: in {whole_line}"
        self.id = self.key  # with a number if the key exists more than once
        self.name = f"{path}:{line}: {kind}: {shown} -> {became}"


def without_comments(source):
    """Returns the source with comments, strings, includes and attributes blanked out; all positions are
    unchanged."""

    def blank(match):
        return re.sub(r"[^\n]", " ", match.group(0))

    pattern = r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|^\s*#[^\n]*|\[\[\w+\]\]|\btemplate <[^\n]*>'
    return re.sub(pattern, blank, source, flags=re.S | re.M)


def closing(code, opening):
    """Returns the position after the bracket that closes the one at `opening`."""
    depth = 0
    for position in range(opening, len(code)):
        if code[position] in "([{":
            depth += 1
        elif code[position] in ")]}":
            depth -= 1
            if depth == 0:
                return position + 1
    return len(code)


def is_rest(code, position):
    """True if the text there continues a statement that contains braces."""
    return code[position] in "),.<>=?&|"


def is_in_class(code, position):
    """True in a class or namespace, outside functions."""
    depth = 0
    while position > 0:
        position -= 1
        depth += (code[position] == "}") - (code[position] == "{")
        if depth < 0:
            head = re.search(r"[^;{}]*$", code[:position])[0]
            return re.search(r"\b(class|struct|enum|namespace)\b", head) is not None
    return True


def statements(code):
    """Returns [begin, end) of each simple statement in a function, and of each `if` with a block of one
    throw."""
    found = []
    for match in re.finditer(r"(?<=[;{}])\s*(?=[^\s;{}#])", code):
        begin = match.end()
        if is_rest(code, begin) or is_in_class(code, begin):
            continue
        if re.match(r"if \(", code[begin:]):
            end = closing(code, begin + 3)
            block = re.match(r"\s*\{\s*throw [^;{}]*;\s*\}", code[end:])
            if block:
                found.append((begin, end + block.end(), "check"))
            continue
        depth = 0
        position = begin
        while position < len(code) and (depth > 0 or code[position] not in ";{}"):
            depth += (code[position] in "([") - (code[position] in ")]")
            position += 1
        text = code[begin:position]
        if position < len(code) and code[position] == ";" and code[:begin].count("{") - code[:begin].count("}") > 1:
            if re.match(r"const std::(lock_guard|scoped_lock)", text):
                found.append((begin, position + 1, "lock"))
            elif re.match(r"std::atomic_thread_fence\(", text):
                found.append((begin, position + 1, "fence"))
            elif re.match(r"(return|throw|const|auto|using|static|constexpr|case|default|break|continue|friend|public|"
                          r"std::size_t \w+ =|private|explicit|virtual|mutable|struct|enum)\b", text):
                continue
            elif re.search(r"= (delete|default)$|\boverride$", text):
                continue
            elif re.match(r"[\w:<>,& ]+ \w+(\(|;|$| = )", text) and not re.match(r"[\w.>\-]+\(", text):
                continue  # a declaration
            else:
                found.append((begin, position + 1, "wait" if re.search(WAIT, text) else "statement"))
    return found


def mutations_of(path):
    source = (ROOT / path).read_text()
    code = without_comments(source)
    result = []

    def add(begin, end, text, kind):
        result.append(Mutation(path, source, begin, end, text, kind))

    for match in re.finditer(r"\b(if|while) \(", code):
        end = closing(code, match.end() - 1)
        condition = source[match.end():end - 1]
        if re.match(r"const auto|auto", condition):
            continue
        forms = ["!({})", "false && ({})"] + (["true || ({})"] if match.group(1) == "if" else [])
        for form in forms:
            add(match.end(), end - 1, form.format(condition), "condition")

    simple = statements(code)
    for begin, end, kind in simple:
        if kind != "check":
            add(begin, end, "", "left out" if kind == "statement" else f"{kind} left out")
    for (begin, end, kind), (next_begin, next_end, next_kind) in zip(simple, simple[1:]):
        is_adjacent = end <= next_begin and code[end:next_begin].strip() == ""
        if is_adjacent and "lock" not in (kind, next_kind):
            exchanged = source[next_begin:next_end] + source[end:next_begin] + source[begin:end]
            add(begin, next_end, exchanged, "exchanged")

    for match in re.finditer(r" (==|!=|<=|>=|<|>|&&|\|\||\+=|-=|\+|-|\*) (?=[\w(!-])", code):
        add(match.start(1), match.end(1), SWAPPED[match.group(1)], "operator")
    for match in re.finditer(r"(?<![\w.:'\"])(\d+)(?![\w.'])", code):
        if code[:match.start()].count("{") > 0 and not re.search(r"(alignas|array<[^>]*)$", code[:match.start()]):
            add(match.start(), match.end(), str(int(match.group(1)) + 1), "constant")
    for match in re.finditer(r"\b(true|false)\b", code):
        add(match.start(), match.end(), "false" if match.group(1) == "true" else "true", "constant")
    for match in re.finditer(r"u'/'", source):
        add(match.start(), match.end(), "u'|'", "constant")
    for match in re.finditer(r"\bu?\"[^\"\n]+\"", source):
        line = source[source.rfind("\n", 0, match.start()) + 1:match.start()]
        if "#include" not in line and "//" not in line:
            add(match.start(), match.end(), match.group(0)[:-1] + "~\"", "constant")
    for match in re.finditer(r"\b(\w+)::(\w+)\b", code):
        for other in ENUMERATIONS.get(match.group(1), []):
            if match.group(2) in ENUMERATIONS[match.group(1)] and other != match.group(2):
                add(match.start(2), match.end(2), other, "enumerator")
    for match in re.finditer(r"\bthrow (\w+Exception)\(", code):
        for other in EXCEPTIONS:
            if other != match.group(1):
                add(match.start(1), match.end(1), f"storage::inmemoryprovider::{other}", "exception")
    for match in re.finditer(r"\breturn ([^;{}]+);", code):
        if match.group(1) not in ("false", "nullptr"):
            add(match.start(1), match.end(1), "{}", "result")
    for match in re.finditer(r"(?<=[\w)>])(\.|->)(load|store|exchange|fetch_\w+)\(", code):
        end = closing(code, match.end() - 1)
        named = re.search(r"std::memory_order_(\w+)$", code[match.end():end - 1])
        if not named:
            comma = ", " if code[match.end():end - 1].strip() else ""
            add(end - 1, end - 1, comma + "std::memory_order_relaxed", "memory order")
        elif named[1] != "relaxed":
            begin = match.end() + named.start(1)
            add(begin, begin + len(named[1]), "relaxed", "memory order")
    return result


def all_mutations():
    names = subprocess.run(["git", "ls-files", "inmemoryprovider/*.cpp", "inmemoryprovider/*.h"], cwd=ROOT, check=True,
                           capture_output=True, text=True).stdout.split()
    mutations = [mutation for name in names for mutation in mutations_of(name)]
    counts = collections.Counter()
    for mutation in mutations:
        counts[mutation.key] += 1
        if counts[mutation.key] > 1:
            mutation.id += f" ({counts[mutation.key]})"
    return mutations
