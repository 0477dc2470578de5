"""Shows paths, segments, attributes, cursors, sets of patterns and strings in gdb as their texts.

The printers read memory and call no function of the program, so they work on core files as well. gdb loads this file
together with the library.
"""

import gdb
import gdb.printing

WORD_SIZE = 8
BUFFER_TAG = 0xFF
NO_NODE = 0xFFFFFFFF


def string_bytes(string):
    """The bytes of a Tavik::String; Tavik/Core/String.h says how it holds them."""
    words = string["words_"]
    count = string.type.sizeof // WORD_SIZE
    last = int(words[count - 1])
    tag = last >> 56
    if tag != BUFFER_TAG:
        return b"".join(int(words[i]).to_bytes(WORD_SIZE, "little") for i in range(count))[:tag]
    size = last & ((1 << 56) - 1)
    head = gdb.lookup_type("Tavik::Impl::StrB::Buffer").sizeof
    return gdb.selected_inferior().read_memory(int(words[0]) + head, size).tobytes()


def escaped(string, specials):
    """The bytes of a field, with a backslash before each special one."""
    return b"".join(b"\\%c" % byte if byte in specials else b"%c" % byte for byte in string_bytes(string))


def node_of(owner):
    """What a std::shared_ptr points to, or None."""
    pointer = owner["_M_ptr"]
    return pointer.dereference() if int(pointer) != 0 else None


def elements_of(vector):
    """The elements of a std::vector."""
    implementation = vector["_M_impl"]
    position = implementation["_M_start"]
    while position != implementation["_M_finish"]:
        yield position.dereference()
        position += 1


def write_attributes(keys, value):
    """The text of the attributes of a segment, and the value node after those that belong to it."""
    text = b""
    for key in elements_of(keys):
        text += b"[" + escaped(key, b"=\\") + b"=" + escaped(value["value"], b"]\\") + b"]"
        value = node_of(value["previous"])
    return text, value


def write_segment(segment, value):
    """The text of one segment, and the value node after those that belong to it."""
    text, value = write_attributes(segment["attributeKeys"], value)
    return escaped(segment["name"], b"/[\\") + text, value


def write_path(segment, value):
    """The text of the path that ends with a segment node."""
    texts = []
    while segment is not None:
        text, value = write_segment(segment, value)
        texts.append(text)
        segment = node_of(segment["parent"])
    return b"/" + b"/".join(reversed(texts))


def readable(text):
    """The text decoded from UTF-8, with escapes such as \\x1b for what a terminal should not be sent."""
    characters = text.decode("utf-8", "backslashreplace")
    return "".join(each if each.isprintable() else each.encode("unicode_escape").decode() for each in characters)


class StringPrinter:
    """Shows a Tavik::String like any array of characters."""

    def __init__(self, string):
        self.string = string

    def to_string(self):
        text = string_bytes(self.string)
        return gdb.Value(text, gdb.lookup_type("char").array(len(text) - 1)) if text else '""'


class SegmentPrinter:
    """Shows a segment as it appears in the text of a path, with its attributes."""

    def __init__(self, segment):
        self.segment = segment

    def to_string(self):
        node = node_of(self.segment["segment"])
        return "no segment" if node is None else readable(write_segment(node, node_of(self.segment["values"]))[0])


class PathPrinter:
    """Shows a path as its canonical text."""

    def __init__(self, path):
        self.path = path

    def to_string(self):
        return readable(write_path(node_of(self.path["segment"]), node_of(self.path["values"])))


class ViewPrinter:
    """Shows a cursor as the text of the path from the root to it."""

    def __init__(self, view):
        self.view = view

    def to_string(self):
        segment, values = self.view["segment"].dereference(), self.view["values"].dereference()
        return readable(write_path(node_of(segment), node_of(values)))


class AttributeRangePrinter:
    """Shows the attributes of a segment as they appear in the text of a path."""

    def __init__(self, attributes):
        self.attributes = attributes

    def to_string(self):
        keys, values = self.attributes["keys_"].dereference(), self.attributes["values_"]
        text, _ = write_attributes(keys, values.dereference() if int(values) != 0 else None)
        return readable(text) or "no attributes"


class PatternSetPrinter:
    """Shows the patterns of a set by their indexes. The types behind it are in the debug symbols of the library."""

    def __init__(self, patterns):
        self.patterns = patterns
        self.tree = self.find_tree()

    def find_tree(self):
        """What the set points to; None if it has no patterns, or if the library has no debug symbols."""
        try:
            tree = gdb.lookup_type("Tavik::Impl::PatternTree")
        except gdb.error:
            return None
        pointer = self.patterns["tree_"].address.cast(tree.pointer().pointer()).dereference()
        return pointer.dereference() if int(pointer) != 0 and tree.fields() else None

    def to_string(self):
        if self.tree is not None:
            return "patterns"
        is_empty = int(self.patterns["tree_"].address.cast(gdb.lookup_type("long").pointer()).dereference()) == 0
        return "no patterns" if is_empty else "patterns, which the debug symbols of the library would show"

    def children(self):
        if self.tree is None:
            return
        patterns = self.tree["patterns_"]
        for index, (path, links) in enumerate(zip(elements_of(patterns["paths_"]), elements_of(patterns["links_"]))):
            if int(links["end"]) != NO_NODE:
                yield "[%d]" % index, path


class SegmentsPrinter:
    """Shows the segments of a path like an array, in the order of iteration."""

    def __init__(self, segments):
        self.holder = segments["leafFirst_"]["m_holder"]

    def to_string(self):
        return None if int(self.holder["m_size"]) > 0 else "no segments"

    def children(self):
        for index in reversed(range(int(self.holder["m_size"]))):
            yield str(index), (self.holder["m_start"] + index).dereference()

    def display_hint(self):
        return "array"


def register():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("TavikObjectPath")
    printers.add_printer("String", "^Tavik::Impl::StrB$", StringPrinter)
    printers.add_printer("ObjectPathSegment", "^Tavik::ObjectPathSegment$", SegmentPrinter)
    printers.add_printer("ObjectPath", "^Tavik::ObjectPath$", PathPrinter)
    printers.add_printer("View", "^Tavik::ObjectPath::View$", ViewPrinter)
    printers.add_printer("Segments", "^Tavik::ObjectPath::Segments$", SegmentsPrinter)
    printers.add_printer("ObjectPathAttributeRange", "^Tavik::ObjectPathAttributeRange$", AttributeRangePrinter)
    printers.add_printer("ObjectPathPatternSet", "^Tavik::ObjectPathPatternSet$", PatternSetPrinter)
    gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)


register()
