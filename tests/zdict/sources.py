"""C++ sources with texts, and the texts that the compiler makes of them."""

import os
import random
import re
import subprocess

NAMED = {"endl": "\r\n", "tab": "\t", "mdash": "\u2014", "nbsp": "\u00a0", "quot": '"'}
ESCAPES = {"\\": {'"': '"', "n": "\n", "r": "\r", "t": "\t", "b": "\b"},
           "^": {"Q": '"', "[": "\u201c", "]": "\u201d", "{": "\u2018", "}": "\u2019", "C": "©",
                 "R": "®", "T": "™", "D": "°", "B": "•", "#": "⌘", "!": "¬", "I": "∆", "S": "∑",
                 "n": "\n", "r": "\r"}}

HEAD = """#include <cstdio>
#include <cstddef>
template <std::size_t size> void Print(const char (&text)[size])
{
    for (std::size_t i = 0; i + 1 < size; ++i)
        std::printf("%02x", static_cast<unsigned char>(text[i]));
    std::puts("");
}
#define PASS(text) Print(text)
#define COLUMN "a\\tb"
#define WORD COLUMN " and "
int main()
{
"""


def expand(text):
    """Returns the text that a look-up gives."""
    first = ""
    at = 0
    while at < len(text):
        sign, after = text[at], text[at + 1:at + 2]
        if sign not in ESCAPES or not after:
            first += sign
            at += 1
            continue
        first += ESCAPES[sign].get(after, sign if after == sign else sign + after)
        at += 2

    def character(match):
        if match[1] in NAMED:
            return NAMED[match[1]]
        number = re.fullmatch(r"(?:U\+|u)?([0-9A-Fa-f]{1,4})", match[1])
        return chr(int(number[1], 16)) if number else match[0]
    return re.sub(r"#\{([^{}]*)\}", character, first)


def texts_of(english):
    """Returns the expanded texts of the text form by key."""
    texts = {}
    for line in english.decode().split("\n")[:-1]:
        key, text = re.fullmatch(r'"\$\$\$([^=]*)=((?:[^"\\]|\\.)*)"', line).groups()
        assert key not in texts
        texts[key] = expand(text)
    return texts


def texts_in(binary):
    """Returns the expanded texts of a program's or library's file by key."""
    literals = re.findall(rb"\$\$\$(/[^=\0]*)=([^\0]+)", binary)
    return {key.decode(): expand(text.decode()) for key, text in literals}


def compiled(source, folder):
    """Returns the literals of the program, which prints them. The environment's EMULATOR runs
    the program, if it is for another system."""
    program = os.path.join(folder, "program.exe")
    path = os.path.join(folder, "program.cpp")
    with open(path, "w", encoding="utf-8", newline="") as file:
        file.write(source)
    subprocess.run([os.environ.get("CXX", "g++"), "-std=c++17", "-w", "-O0", path, "-o", program],
                   check=True, timeout=100)
    lines = subprocess.run([*os.environ.get("EMULATOR", "").split(), program],
                           stdout=subprocess.PIPE, check=True, timeout=10).stdout.split()
    return path, [bytes.fromhex(line.decode()) for line in lines]


def random_literal(chance, number):
    """Returns source text of a literal in pieces, which begins as a text with the key /number."""
    plain = ["x", " ", "é", "😀", "^", "^^1", "#", "#{mdash}", "{", "}", "@0", "%s", "=", "//", "/*",
             "'", "$$$/", "^C", "?"]
    escaped = plain + [r"\n", r"\\", r"\"", r"\'", r"\t", r"\x41", r"\101", r"\0601", r"\u00e9",
                       r"\U0001F600", r"\?", "\\\n", "\\\r\n", r"\x0c", r"\\\"", r"\r", "\\\\\\n"]
    raw = plain + ["\\", '"', "\n", ")", "\\\n", r"\n", "\t"]
    pieces = [f'"$$$/{number}="']
    for _ in range(chance.randint(0, 5)):
        kind = chance.choice(["plain", "raw", "macro", "u8"])
        count = chance.randint(0, 6)
        if kind == "macro":
            pieces.append(chance.choice(["COLUMN", "WORD"]))
        elif kind == "raw":
            mark = chance.choice(["", "x", "a_b"])
            body = "".join(chance.choices(raw, k=count)).replace(f'){mark}"', "")
            pieces.append(f'{chance.choice(["R", "u8R"])}"{mark}({body}){mark}"')
        else:
            body = "".join(chance.choices(escaped, k=count))
            pieces.append(("u8" if kind == "u8" else "") + f'"{body}"')
    gaps = [" ", "\n", " /* \"$$$/no=\" */ ", " // it's \" nothing\n", "\\\n ", "\t/**/\\\r\n"]
    return "".join(piece + chance.choice(gaps) for piece in pieces)


def random_source(seed, count):
    chance = random.Random(seed)
    lines = []
    for number in range(count):
        noise = chance.choice(["", "double a = 1'000e+1 + .5'0;", "char c = '\"', d = '\\'';",
                               'const char* s = "\\\\";', "#if 0\nisn't\n#endif",
                               '#define F(x) #x " "\n', "// line \\\n \"$$$/not=this\"",
                               "auto w = L\"\\\"\";", '#pragma mark don\'t "\n'])
        call = chance.choice(["Print({});", "PASS({});", "PASS(({}));"])
        literal = random_literal(chance, number)
        lines.append("{" + "\n" + noise + "\n" + call.replace("{}", literal) + "}\n")
    return HEAD + "".join(lines) + "}\n"
