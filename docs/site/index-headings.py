#!/usr/bin/env python3
"""Lets the search of a site find pages by the words of their headings, and by what the lists of topics and of examples
say about them. Doxygen indexes names and titles only. Usage: index-headings.py SITE"""

import ast
import html
import json
import pathlib
import re
import sys

LISTS = ("topics.html", "example_list.html")
UNSPECIFIC = {"and", "are", "for", "from", "its", "not", "one", "that", "the", "their", "this", "what", "with"}


def text_of(markup):
    """The words of some HTML; what they are for another is HTML again."""
    return " ".join(html.unescape(re.sub(r"<[^>]*>", "", markup)).split())


def entries_of(page, markup):
    """Tuples of a text that says what is at some place, the link to that place, and where it is."""
    title = re.search(r'<div class="title">(.*?)</div>', markup, re.S)
    place = text_of(title[1]) if title else page.stem
    for name, heading in re.findall(r'<h\d><a class="anchor" id="([^"]+)"></a>\s*(.*?)</h\d>', markup, re.S):
        yield text_of(heading), "%s#%s" % (page.name, name), place
    for name, heading in re.findall(r'<h\d id="([^"]+)">(.*?)</h\d>', markup, re.S):
        yield text_of(heading), "%s#%s" % (page.name, name), place
    if page.name in LISTS:
        for row in re.findall(r"<tr.*?</tr>", markup, re.S):
            link = re.search(r'<a [^>]*href="([^"]+)"[^>]*>(.*?)</a>', row, re.S)
            cells = [cell for cell in re.findall(r"<td[^>]*>(.*?)</td>", row, re.S) if "<a " not in cell]
            if link and cells:
                yield text_of(cells[0]), link[1], text_of(link[2])


def key_of(text):
    """What the script of the search compares with the beginning of the words that it looks for."""
    return "".join(c if re.match(r"[a-z0-9\u0080-\uffff]", c) else "_%02x" % ord(c) for c in text.lower())


def rows_of(entries):
    """A row of the search for each word of each entry, which is found by that word and those that follow it."""
    for number, (text, link, place) in enumerate(entries):
        for word in re.finditer(r"[\w-]{3,}", text):
            if word[0].lower() not in UNSPECIFIC:
                key = "%s_e%d" % (key_of(text[word.start() :]), number)
                yield word[0][0].lower(), [key, [html.escape(text), ["../" + link, 1, html.escape(place)]]]


def add(search, section, rows):
    """Adds rows to a section of the search, which has a script and a page for each first letter."""
    letters = {}
    for script in search.glob(section + "_*.js"):
        for row in ast.literal_eval(re.sub(r"^var searchData=|;\s*$", "", script.read_text(encoding="utf-8")).strip()):
            letters.setdefault(row[0][0] if row[0][0] != "_" else "~", []).append(row)
    for letter, row in rows:
        letters.setdefault(letter, []).append(row)
    frame = (search / (section + "_0.html")).read_text(encoding="utf-8")
    for index, letter in enumerate(sorted(letters)):
        name = "%s_%x" % (section, index)
        found = ",\n".join(json.dumps(row) for row in sorted(letters[letter]))
        (search / (name + ".js")).write_text("var searchData=[\n%s\n];\n" % found, encoding="utf-8")
        (search / (name + ".html")).write_text(frame.replace(section + "_0.js", name + ".js"), encoding="utf-8")
    return "".join(sorted(letters))


def main():
    site = pathlib.Path(sys.argv[1])
    pages = [page for page in sorted(site.glob("*.html")) if "_8" not in page.name and "Tavik" not in page.name]
    entries = []
    for page in pages:
        markup = page.read_text(encoding="utf-8")
        if re.search(r"@(ref|image)\b", markup):
            sys.exit("%s shows a command of Doxygen" % page)
        entries += entries_of(page, markup)
    rows = list(rows_of(entries))
    script = site / "search" / "searchdata.js"
    text = script.read_text(encoding="utf-8")
    for section in "all", "pages":
        number = re.search(r'(\d+): "%s"' % section, text)[1]
        letters = add(site / "search", section, rows)
        text = re.sub(r'(\b%s: )"[^"]*"' % number, lambda match: match[1] + json.dumps(letters), text, count=1)
    script.write_text(text, encoding="utf-8")
    print("%d headings and lines of lists are found by their words" % len(entries))


main()
