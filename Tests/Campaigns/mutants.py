"""Generates mutants of C++ sources: small changes, each of which some test should notice.

It relies on the layout that clang-format gives: a relational operator has blanks around it, a template bracket has
none. What it yields need not compile; the campaign finds out.
"""

import bisect
import hashlib
import random
import re
from collections import defaultdict
from dataclasses import dataclass

TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^\#(?:\\\n|[^\n])*)
      |(?P<text>"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*')
      |(?P<number>\d[\w'.]*)
      |(?P<name>[A-Za-z_]\w*)
      |(?P<sign>\[\[|\]\]|<=>|<=|>=|==|!=|&&|\|\||\+\+|--|\+=|-=|\|=|&=|->|::|\.\.\.|.)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

RELATIONAL = {
    "<": ["<=", ">="],
    "<=": ["<", ">"],
    ">": [">=", "<="],
    ">=": [">", "<"],
    "==": ["!=", ">="],
    "!=": ["==", "<"],
}
BOOLEAN = {"&&": "||", "||": "&&", "true": "false", "false": "true"}
ARITHMETIC = {"++": "--", "--": "++", "+=": "-=", "-=": "+=", "|=": "=", "&=": "="}
ARITHMETIC |= {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/"}
OPPOSITE = {
    "begin": "end",
    "front": "back",
    "push_front": "push_back",
    "pop_front": "pop_back",
    "takeFront": "takeBack",
    "min": "max",
    "undo": "redo",
    "undoQueue": "redoQueue",
    "undoCommand": "redoCommand",
    "modulesBefore": "modulesAfter",
}
OPPOSITE |= {there: here for here, there in OPPOSITE.items()}
NUMBERS = {"0": ["1"], "1": ["0", "2"]}
BRACKETS = {"(": ")", "[": "]", "{": "}", "[[": "]]"}
INTEGERS = re.compile(r"^(unsigned )?(long long|int|long)$|^std::(u?int\d+_t|size_t)$|^unsigned$")


@dataclass(frozen=True)
class Mutant:
    """One change: `replacement` for the text from `begin` to `end`."""

    file: str
    function: str
    operator: str
    begin: int
    end: int
    replacement: str
    line: int
    before: str  # the lines that are concerned, with single blanks
    after: str
    number: int  # tells those apart that are equal in all of this
    context: str  # stands for the text of the function

    @property
    def key(self):
        number = f" #{self.number}" if self.number else ""
        return f"{self.file} | {self.operator} | {self.function}{number}\n- {self.before}\n+ {self.after}"

    @property
    def id(self):
        return f"{self.file}-{self.operator.replace(' ', '-')}-{hashlib.sha1(self.key.encode()).hexdigest()[:8]}"

    def apply(self, text):
        """The mutated source. All other lines keep their number, since log lines show them."""
        lines = text[self.begin : self.end].count("\n") - self.replacement.count("\n")
        return text[: self.begin] + self.replacement + "\n" * max(lines, 0) + text[self.end :]


@dataclass
class Token:
    kind: str
    text: str
    begin: int
    end: int


@dataclass
class Statement:
    kind: str  # "call", "declaration", "jump" or "control"
    first: int  # tokens
    last: int


def lex(text):
    return [
        Token(match.lastgroup, match.group(), match.start(), match.end())
        for match in TOKEN.finditer(text)
        if match.lastgroup != "skip"
    ]


class Source:
    """The mutants of one file."""

    def __init__(self, file, text, enumerators):
        self.file = file
        self.text = text
        self.enumerators = enumerators
        self.tokens = lex(text)
        self.partner = self.match_brackets()
        self.lines = [match.start() for match in re.finditer(r"^", text, re.MULTILINE)]
        self.functions = []  # (first token, last token, name, return type)
        self.found = []  # (operator, begin, end, replacement)

    def match_brackets(self):
        partner, open_ones = {}, []
        for index, token in enumerate(self.tokens):
            if token.text in BRACKETS and token.kind == "sign":
                open_ones.append(index)
            elif token.text in BRACKETS.values() and token.kind == "sign":
                # "[[" may also be two brackets of a lambda in a subscript; this layout has none of those.
                opening = open_ones.pop()
                partner[opening], partner[index] = index, opening
        return partner

    # --- structure

    def mutants(self):
        self.scope(0, len(self.tokens), [])
        self.single_tokens()
        return self.numbered()

    def scope(self, first, end, path):
        """Namespaces and classes: looks for the functions in them."""
        start = index = first
        while index < end:
            text = self.tokens[index].text
            if text == "{":
                close = self.partner[index]
                words = [token.text for token in self.tokens[start:index]]
                if "namespace" in words:
                    self.scope(index + 1, close, path)
                    start = close + 1
                elif "enum" in words:
                    start = close + 1
                elif "(" not in words and ("class" in words or "struct" in words):
                    self.scope(index + 1, close, path + [self.class_name(start, index)])
                    start = close + 1
                elif "(" in words and self.is_block(index):
                    self.function(start, index, path)
                    start = close + 1
                index = close + 1
            elif text in BRACKETS:
                index = self.partner[index] + 1
            else:
                index += 1
                if text == ";" or (text == ":" and self.tokens[index - 2].text in ("public", "private", "protected")):
                    start = index

    def class_name(self, start, brace):
        names = []
        for token in self.tokens[start:brace]:
            if token.text == ":":
                break
            if token.kind == "name" and token.text not in ("class", "struct", "final"):
                names.append(token.text)
        return names[-1] if names else ""

    def is_block(self, brace):
        before = self.tokens[brace - 1].text
        return before in (")", "]", "const", "noexcept", "override", "try", "else", "do", ";", "{", "}", ":")

    def function(self, start, brace, path):
        if self.tokens[start].text == "template":
            while not (self.tokens[start].text == ">" and not self.tokens[start + 1].text == ">"):
                start += 1
            start += 1
        while self.tokens[start].text == "[[":
            start = self.partner[start] + 1
        paren = start
        while self.tokens[paren].text != "(":
            paren += 1
        name = paren
        if self.tokens[name - 1].text == "]":
            name -= 3  # operator[]
        while name > start and (
            self.tokens[name - 1].text in ("::", "~", "operator")
            or (self.tokens[name - 1].kind == "name" and (self.tokens[name].text in ("(", "::", "=", "==")))
            or (self.tokens[name - 1].text == ">" and self.tokens[name].text == "::")
            or self.tokens[name - 1].text in ("=", "==")
        ):
            name -= 1
            if self.tokens[name].text == ">":
                while self.tokens[name].text != "<":
                    name -= 1
        returned = [
            token for token in self.tokens[start:name] if token.text not in ("static", "virtual", "inline", "constexpr")
        ]
        return_type = self.text[returned[0].begin : returned[-1].end] if returned else ""
        own_name = "".join(token.text for token in self.tokens[name:paren])
        self.functions.append((start, self.partner[brace], "::".join(path + [own_name]), return_type))
        self.initialisers(self.partner[paren] + 1, brace)
        self.block(brace, return_type)

    def initialisers(self, index, brace):
        """A member that is initialised with something gets nothing."""
        while index < brace and self.tokens[index].text != ":":
            index += 1
        while index < brace:
            if self.tokens[index].text == "(":
                close = self.partner[index]
                if close > index + 1:
                    self.add("initialiser", index + 1, close - 1, "")
                index = close
            index += 1

    def block(self, brace, return_type):
        statements, index, end = [], brace + 1, self.partner[brace]
        while index < end:
            statement = self.statement(index, return_type)
            if statement is not None:
                statements.append(statement)
                index = statement.last + 1
            else:
                index += 1
        self.drops(statements, end)
        self.swaps(statements)

    def statement(self, index, return_type):
        """The statement that begins here, its own parts being dealt with; nothing for a label."""
        text = self.tokens[index].text
        if text == "{":
            self.block(index, return_type)
            return Statement("control", index, self.partner[index])
        if text in ("case", "default"):
            return None
        if self.tokens[index + 1].text == ":" or text == ":":
            return None
        if self.tokens[index - 1].text == "case":
            return None
        if text in ("if", "while", "for", "switch"):
            return self.control(index, return_type)
        if text == "try":
            last = self.body(index + 1, return_type)
            while self.tokens[last + 1].text == "catch":
                last = self.body(self.partner[last + 2] + 1, return_type)
            return Statement("control", index, last)
        return self.simple(index, return_type)

    def body(self, index, return_type):
        return self.statement(index, return_type).last

    def control(self, index, return_type):
        keyword = self.tokens[index].text
        paren = index + 1
        if self.tokens[paren].text == "constexpr":
            paren += 1
        close = self.partner[paren]
        if keyword in ("if", "while"):
            self.condition(paren + 1, close)
        elif keyword == "for":
            semicolons = self.at_depth_zero(paren + 1, close, ";")
            if len(semicolons) == 2:
                self.condition(semicolons[0] + 1, semicolons[1])
                if semicolons[1] + 1 < close:
                    self.add("drop", semicolons[1] + 1, close - 1, "")
        self.lambdas(paren + 1, close)
        last = self.body(close + 1, return_type)
        while self.tokens[last + 1].text == "else":
            last = self.body(last + 2, return_type)
        return Statement("control", index, last)

    def condition(self, first, end):
        semicolons = self.at_depth_zero(first, end, ";")
        if semicolons:
            first = semicolons[-1] + 1
        for forced in ("true", "false"):
            if self.at_depth_zero(first, end, "="):
                self.add("condition", first, end - 1, self.slice(first, end - 1) + "; " + forced)
            else:
                self.add("condition", first, end - 1, forced)

    def simple(self, index, return_type):
        last = index
        while self.tokens[last].text != ";":
            if self.partner.get(last, last) < last:
                raise ValueError(f"{self.file}: no statement, {self.slice(index, last)}")
            last = self.partner.get(last, last) + 1
        self.lambdas(index, last)
        text = self.tokens[index].text
        if text == "return" and last > index + 1:
            self.return_value(index, last, return_type)
            return Statement("value", index, last)
        if text in ("return", "throw", "break", "continue"):
            return Statement("jump", index, last)
        return Statement("declaration" if self.is_declaration(index, last) else "call", index, last)

    def is_declaration(self, index, last):
        text = self.text[self.tokens[index].begin : self.tokens[last].end]
        return bool(re.match(r"(const|auto|using|constexpr|static)\b|[\w:]+(<.*?>)?[&*]* [&*]*\w+( =|;|\(|\{)", text, re.DOTALL))

    def lambdas(self, first, end):
        index = first
        while index < end:
            if self.tokens[index].text == "{" and self.tokens[index - 1].text in (")", "]"):
                self.block(index, "")
                index = self.partner[index]
            index += 1

    def at_depth_zero(self, first, end, text):
        found, index = [], first
        while index < end:
            if self.tokens[index].text == text:
                found.append(index)
            index = self.partner[index] + 1 if self.tokens[index].text in BRACKETS else index + 1
        return found

    # --- statements

    def drops(self, statements, end):
        for statement in statements:
            if statement.kind in ("call", "jump"):
                self.add("drop", statement.first, statement.last, ";")
            elif statement.kind == "declaration" and not self.is_used(statement, end):
                self.add("drop", statement.first, statement.last, ";")

    def is_used(self, declaration, end):
        names = self.declared(declaration)
        return any(token.text in names for token in self.tokens[declaration.last : end])

    def declared(self, declaration):
        index = declaration.first
        while self.tokens[index].text not in ("=", "(", "{", ";"):
            index += 1
        return {self.tokens[index - 1].text}

    def swaps(self, statements):
        for first, second in zip(statements, statements[1:]):
            if second.kind in ("jump", "value") or first.kind in ("jump", "value"):
                continue
            if "declaration" in (first.kind, second.kind) and not self.can_swap(first, second):
                continue
            one, other = self.slice(first.first, first.last), self.slice(second.first, second.last)
            between = self.text[self.tokens[first.last].end : self.tokens[second.first].begin]
            self.add("swap", first.first, second.last, other + between + one)

    def can_swap(self, first, second):
        """A declaration and a call that does not use it; the order of two declarations is left alone."""
        if first.kind == second.kind or "control" in (first.kind, second.kind):
            return False
        declaration, call = (first, second) if first.kind == "declaration" else (second, first)
        names = self.declared(declaration)
        return not any(token.text in names for token in self.tokens[call.first : call.last + 1])

    def return_value(self, index, last, return_type):
        value = self.slice(index + 1, last - 1)
        if value in ("true", "false", "nullptr", "{}", "std::string()"):
            return
        plain = re.sub(r"\bconst\b|\s*[&*]$", "", return_type).strip()
        if plain == "bool" or (not return_type and re.search(r" (==|!=|<|>|&&|\|\|) ", value)):
            self.add("return", index, last, "return true;")
            self.add("return", index, last, "return false;")
        elif return_type.endswith("&"):
            self.add("return", index, last, f"{{ static {plain} changed{{}}; return changed; }}")
        elif return_type:
            self.add("return", index, last, "return {};")
            if INTEGERS.match(plain):
                self.add("return", index, last, f"return ({value}) + 1;")

    # --- single tokens

    def single_tokens(self):
        for index, token in enumerate(self.tokens):
            if token.kind == "text":
                self.literal(index)
            elif token.kind == "number":
                self.number(index)
            elif token.kind == "name":
                self.name(index)
            else:
                self.sign(index)

    def literal(self, index):
        token = self.tokens[index]
        content = token.text[1:-1]
        changed = [content + " "] if content else ["x"]
        if " " in content:
            changed.append(content.replace(" ", "", 1))
        letters = [place for place, letter in enumerate(content) if letter.isalpha()]
        if letters:
            middle = letters[len(letters) // 2]
            other = "x" if content[middle] != "x" else "y"
            changed.append(content[:middle] + other + content[middle + 1 :])
        for text in changed:
            self.add("text", index, index, token.text[0] + text + token.text[-1])

    def number(self, index):
        token = self.tokens[index]
        if self.tokens[index - 1].text == "=" and self.tokens[index - 2].text in (")", "const", "noexcept"):
            return  # a pure virtual function
        for other in NUMBERS.get(token.text, ["0", str(int(token.text) - 1), str(int(token.text) + 1)]):
            self.add("constant", index, index, other)

    def name(self, index):
        text = self.tokens[index].text
        if text in ("true", "false"):
            self.add("boolean", index, index, BOOLEAN[text])
        if text in OPPOSITE and self.function_of(index) and self.tokens[index - 1].text in (".", "->", "("):
            self.add("opposite", index, index, OPPOSITE[text])
        if text in self.enumerators and self.function_of(index):
            for other in self.enumerators[text]:
                self.add("constant", index, index, other)

    def sign(self, index):
        token = self.tokens[index]
        text = token.text
        spaced = self.text[token.begin - 1].isspace() and self.text[token.end : token.end + 1].isspace()
        if text in RELATIONAL and spaced:
            near = self.tokens[index - 1].text + self.slice(index + 1, min(index + 5, len(self.tokens) - 1))
            for other in RELATIONAL[text]:
                if other in (">=", "<") and text in ("==", "!=") and re.search(r"nullptr|end\(|begin\(", near):
                    continue
                self.add("relational", index, index, other)
        elif text in ("&&", "||") and spaced:
            self.add("boolean", index, index, BOOLEAN[text])
        elif text == "!" and not spaced:
            self.add("boolean", index, index, "")
        elif text == "?":
            self.chosen(index)
        elif text in ("++", "--"):
            self.add("arithmetic", index, index, ARITHMETIC[text])
        elif text in ARITHMETIC and spaced and "text" not in (self.tokens[index - 1].kind, self.tokens[index + 1].kind):
            self.add("arithmetic", index, index, ARITHMETIC[text])

    def chosen(self, question):
        """The condition of the operator `?:`, which is all back to what binds less."""
        first = question - 1
        while self.tokens[first].text not in ("return", "=", "(", "[", "{", ",", ";", ":"):
            first = self.partner.get(first, first) - 1
        for forced in ("true", "false"):
            self.add("condition", first + 1, question - 1, forced)

    # --- results

    def slice(self, first, last):
        return self.text[self.tokens[first].begin : self.tokens[last].end]

    def add(self, operator, first, last, replacement):
        if self.slice(first, last) != replacement:
            self.found.append((operator, self.tokens[first].begin, self.tokens[last].end, replacement))

    def function_of(self, index):
        for first, last, name, _ in self.functions:
            if first <= index <= last:
                return name
        return ""

    def context_of(self, index):
        """Changes with the function, but not with its layout and its comments."""
        for first, last, _, _ in self.functions:
            if first <= index <= last:
                text = " ".join(token.text for token in self.tokens[first : last + 1])
                return hashlib.sha1(text.encode()).hexdigest()[:8]
        return ""

    def planted(self, name, code):
        """The file with this code at the start of every function of that name; nothing if it has none."""
        self.scope(0, len(self.tokens), [])
        places = []
        for _, last, function, _ in self.functions:
            if function == name:
                opening = next(index for index, partner in self.partner.items() if partner == last)
                places.append(self.tokens[opening].end)
        changed = self.text
        for place in sorted(places, reverse=True):
            changed = f"{changed[:place]} {code} {changed[place:]}"
        if not places:
            return None
        return Mutant(self.file, name, "control", 0, len(self.text), changed, 1, "", "", 0, "")

    def numbered(self):
        counts, result = defaultdict(int), []
        starts = [token.begin for token in self.tokens]
        for operator, begin, end, replacement in sorted(set(self.found), key=lambda found: (found[1:3], found[0], found[3])):
            line = bisect.bisect_right(self.lines, begin)
            from_here = self.lines[line - 1]
            to_there = self.text.find("\n", end)
            before = " ".join(self.text[from_here:to_there].split())
            after = " ".join((self.text[from_here:begin] + replacement + self.text[end:to_there]).split())
            # Blanks within texts matter.
            if operator == "text":
                before, after = self.text[from_here:to_there].strip(), (
                    self.text[from_here:begin] + replacement + self.text[end:to_there]
                ).strip()
            function = self.function_of(bisect.bisect_left(starts, begin)) or "-"
            same = (operator, function, before, after)
            result.append(
                Mutant(
                    self.file, function, operator, begin, end, replacement, line, before, after, counts[same],
                    self.context_of(bisect.bisect_left(starts, begin)),
                )
            )  # fmt: skip
            counts[same] += 1
        return result


def enumerators_in(texts):
    """For every enumerator the others of its enumeration."""
    others = {}
    for text in texts:
        code = re.sub(r"//[^\n]*", "", text)
        for body in re.findall(r"\benum\b[^;{]*\{([^}]*)\}", code):
            names = [entry.split("=")[0].strip() for entry in body.split(",") if entry.strip()]
            for name in names:
                # Two of them are enough to see that it matters which one it is.
                others[name] = [other for other in names if other != name][:2]
    return others


def generate(root, folder, further_headers=()):
    files = sorted(path for path in (root / folder).iterdir() if path.suffix in (".cpp", ".h"))
    enumerators = enumerators_in([path.read_text() for path in [*files, *(root / name for name in further_headers)]])
    return [mutant for path in files for mutant in Source(path.name, path.read_text(), enumerators).mutants()]


def plant(root, folder, function, code):
    """A defect for a control: the function begins with this code, on the line of its opening brace."""
    for path in sorted((root / folder).glob("*.cpp")):
        found = Source(path.name, path.read_text(), {}).planted(function, code)
        if found is not None:
            return found
    raise SystemExit(f"No source of {folder} has {function}: name another function for the control.")


def sample(mutants, count, seed):
    """An even share of every file and operator, the same for the same seed."""
    groups = defaultdict(list)
    for mutant in mutants:
        groups[mutant.file, mutant.operator].append(mutant)
    draw = random.Random(seed)
    queues = [draw.sample(group, len(group)) for _, group in sorted(groups.items())]
    draw.shuffle(queues)
    chosen = set()
    while len(chosen) < count and any(queues):
        for queue in queues:
            if queue and len(chosen) < count:
                chosen.add(queue.pop())
    return [mutant for mutant in mutants if mutant in chosen]
