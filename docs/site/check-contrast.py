#!/usr/bin/env python3
"""Computes the contrast of text on the site, in its light and in its dark scheme, and of text in the pictures, as the
Web Content Accessibility Guidelines define it: check-contrast.py STYLESHEET... PICTURE... Fails below 4.5."""

import pathlib
import re
import sys
import xml.etree.ElementTree as xml

LEAST = 4.5
NAMES = {"white": "#ffffff", "black": "#000000"}

# What is text on which ground, in terms of the variables of the theme.
TEXTS = [
    ("--page-foreground-color", "--page-background-color"),
    ("--page-secondary-foreground-color", "--page-background-color"),
    ("--primary-color", "--page-background-color"),
    ("--primary-color", "--code-background"),
    ("--primary-color", "--fragment-background"),
    ("--code-foreground", "--code-background"),
    ("--tablehead-foreground", "--tablehead-background"),
    ("--side-nav-foreground", "--side-nav-background"),
    ("--primary-color", "--side-nav-background"),
    ("--toc-foreground", "--toc-background"),
    ("--fragment-foreground", "--fragment-background"),
    ("--fragment-link", "--fragment-background"),
]
KINDS_OF_CODE = ("comment", "keyword", "keywordtype", "keywordflow", "preprocessor", "stringliteral", "charliteral")


def rules_of(css):
    """The rules of a stylesheet that hold for every window, in order: pairs of a selector and its declarations."""
    css = re.sub(r"/\*.*?\*/", "", css, flags=re.S)
    css = re.sub(r"@[^{};]*\{(?:[^{}]*\{[^{}]*\})*[^{}]*\}", "", css)
    for selectors, body in re.findall(r"([^{}]+)\{([^{}]*)\}", css):
        declarations = dict(re.findall(r"([\w-]+)\s*:\s*([^;]+?)\s*(?:!important)?\s*(?:;|$)", body))
        for selector in selectors.split(","):
            yield " ".join(selector.split()), declarations


def luminance(colour):
    digits = NAMES.get(colour, colour).lstrip("#")
    if len(digits) == 3:
        digits = "".join(digit * 2 for digit in digits)
    parts = [int(digits[i : i + 2], 16) / 255 for i in (0, 2, 4)]
    red, green, blue = (part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts)
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue


def contrast(text, ground):
    low, high = sorted((luminance(text), luminance(ground)))
    return (high + 0.05) / (low + 0.05)


def texts_of_site(rules):
    """Tuples of what is text, its colour and that of its ground, in both schemes."""
    for scheme, selectors in ("light", ["html"]), ("dark", ["html", "html.dark-mode"]):
        values = {}
        for wanted in selectors:
            for selector, declarations in rules:
                if selector == wanted:
                    values.update(declarations)

        def colour(value):
            while value.startswith("var("):
                value = values[value[4:-1]]
            return value

        for text, ground in TEXTS:
            yield "%s: %s on %s" % (scheme, text, ground), colour(values[text]), colour(values[ground])
        for kind in KINDS_OF_CODE:
            # What is said of fragments precedes what is said of all.
            colours = [
                declarations["color"]
                for place in ("span.", "div.fragment span.")
                for selector, declarations in rules
                if selector == place + kind and "color" in declarations
            ]
            yield "%s: %s in code" % (scheme, kind), colour(colours[-1]), colour(values["--fragment-background"])


def style_of(element, name):
    """An attribute of an element of a picture, which may be part of its style."""
    return dict(re.findall(r"([\w-]+):\s*([^;]+)", element.get("style", ""))).get(name, element.get(name))


def texts_of_picture(path):
    """Tuples as above. The ground of a text is the last shape of its group that is filled, or that of the picture."""
    shapes = {"{http://www.w3.org/2000/svg}" + name for name in ("path", "polygon", "ellipse", "rect")}
    tree = xml.parse(path)
    picture = next((style_of(each, "fill") for each in tree.iter() if each.tag in shapes), None)
    if picture in (None, "none"):
        sys.exit("%s has no ground" % path)
    for group in tree.iter("{http://www.w3.org/2000/svg}g"):
        filled = [style_of(each, "fill") for each in group if each.tag in shapes]
        ground = next((fill for fill in reversed(filled) if fill not in (None, "none")), picture)
        for text in group.findall("{http://www.w3.org/2000/svg}text"):
            yield "%s: %s" % (path, text.text), style_of(text, "fill") or "black", ground


def main():
    paths = [pathlib.Path(argument) for argument in sys.argv[1:]]
    rules = [rule for path in paths if path.suffix == ".css" for rule in rules_of(path.read_text(encoding="utf-8"))]
    texts = list(texts_of_site(rules))
    for path in paths:
        if path.suffix == ".svg":
            texts += texts_of_picture(path)
    found = [(contrast(text, ground), what, text, ground) for what, text, ground in texts]
    low = sorted(each for each in found if each[0] < LEAST)
    for each in low:
        print("%.2f %s (%s on %s)" % each)
    print("%d texts, the least contrast is %.2f" % (len(found), min(found)[0]))
    sys.exit(1 if low else 0)


main()
