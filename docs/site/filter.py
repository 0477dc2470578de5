#!/usr/bin/env python3
"""Rewrites one file on its way to Doxygen: filter.py FILE prints what Doxygen reads instead."""

import pathlib
import re
import sys

LONG = 4  # pages with this many headings begin with their contents


def page_of(path):
    """The name of a page on the site."""
    return pathlib.Path(path).stem.lower()


def anchor_of(heading):
    """The name that Markdown gives a heading."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def rewrite_link(link):
    """Pages and examples have names on the site. The headings of a page are named after it. Doxygen does not find the
    end of a link whose text is on two lines."""
    target, _, heading = link[2].partition("#")
    page = page_of(target)
    if target.endswith(".cpp"):
        name = "@ref " + pathlib.Path(target).name
    elif page == "readme":
        name = "index.html" + ("#" + heading if heading else "")
    else:
        name = "@ref " + (page + "-" + heading if heading else page)
    return "[%s](%s)" % (link[1].replace("\n", " "), name)


def rewrite_page(path, text):
    """Names the page and its headings, and inserts the contents of a long page."""
    page = page_of(path)
    # Every other part is a block of code, which stays as it is.
    parts = re.split(r"(^```.*?^```$)", text, flags=re.M | re.S)
    headings = sum(len(re.findall(r"^## ", part, re.M)) for part in parts[::2])

    def rewrite_heading(match):
        anchor = anchor_of(match[1])
        if page == "readme":
            # Otherwise, the navigation would list them among the pages.
            return '<h2 id="%s">%s</h2>' % (anchor, match[1])
        return "%s {#%s-%s}" % (match[0], page, anchor)

    for index in range(0, len(parts), 2):
        parts[index] = re.sub(r"^##+ (.*)", rewrite_heading, parts[index], flags=re.M)
        parts[index] = re.sub(r"\[([^\[\]]*)\]\(([^():#]+\.(?:cpp|md)(?:#[^()]+)?)\)", rewrite_link, parts[index])
    text = "".join(parts)
    if page == "readme":
        return text
    contents = "\n[TOC]\n" if headings >= LONG else ""
    return re.sub(r"\A(# .*)\n", lambda match: "%s {#%s}\n%s" % (match[1], page, contents), text)


def rewrite_names(text):
    """Shows the class behind `String` under this name, in the namespace where programs find it."""
    text = re.sub(r"^ *(using String = Impl::StrB;|class StrB;)\n", "", text, flags=re.M)
    # The comment of the class begins after an empty line.
    text = re.sub(r"\n\n((?:///[^\n]*\n)+)class (TAVIK_CORE_EXPORT )?StrB\b(.*?\n};\n)",
                  r"\n\n}\n\1class String\3\nnamespace Impl {\n", text, flags=re.S)
    return re.sub(r"\b(Impl::)?StrB\b", "String", text)


def main():
    path = sys.argv[1]
    text = pathlib.Path(path).read_text(encoding="utf-8")
    sys.stdout.reconfigure(encoding="utf-8")
    sys.stdout.write(rewrite_page(path, text) if path.endswith(".md") else rewrite_names(text))


main()
