"""Shows paths, segments, attributes, cursors, sets of patterns and strings in gdb as their texts.

The printers read memory and call no function of the program, so they work on core files as well. gdb loads this file
together with the library.
"""

import gdb
import gdb.printing

WORD_SIZE = 8
BUFFER_TAG = 0xFF
NO_NODE = 0xFFFFFFFF
PIECE_SIZE = 1 << 20


def string_bytes(string):
    """The bytes of a Tavik::String; Tavik/Core/String.h says how it holds them."""
    words = string["words_"]
    count = words.type.sizeof // WORD_SIZE
    last = int(words[count - 1])
    tag = last >> 56
    if tag != BUFFER_TAG:
        return b"".join(int(words[i]).to_bytes(WORD_SIZE, "little") for i in range(count))[:tag]
    begin = int(words[0]) + gdb.lookup_type("Tavik::Impl::StrB::Buffer").sizeof
    end = begin + (last & ((1 << 56) - 1))
    # In pieces: a variable that has no value yet must not make gdb allocate what its size seems to be.
    pieces = ((piece, min(PIECE_SIZE, end - piece)) for piece in range(begin, end, PIECE_SIZE))
    return b"".join(gdb.selected_inferior().read_memory(*piece).tobytes() for piece in pieces)


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
        if not text:
            return '""'
        # As text, since a value would be left out in a list of arguments.
        return gdb.Value(text, gdb.lookup_type("char").array(len(text) - 1)).format_string(summary=False)


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
    """Shows the patterns of a set by their indexes. Their types are in the debug symbols of the library: without these,
    shows how many patterns there are."""

    def __init__(self, patterns):
        self.patterns = patterns

    def tree(self, type_name):
        """What the set points to, read as a value of this type; None if it has no patterns. The set is this pointer; a
        program that clang compiled does not describe its members."""
        pointer = gdb.lookup_type(type_name).pointer()
        tree = self.patterns.address.cast(pointer.pointer()).dereference()
        return tree.dereference() if int(tree) != 0 else None

    def list(self):
        """The list of patterns; None if there is none, or if the library has no debug symbols."""
        try:
            tree = self.tree("Tavik::Impl::PatternTree")
            return tree and tree["patterns_"]
        except gdb.error:
            return None

    def to_string(self):
        size = self.tree("unsigned long")  # the first member
        if size is None:
            return "no patterns"
        if self.list() is None:
            plural = "" if int(size) == 1 else "s"
            return "%d pattern%s, which gdb lists if it has the debug symbols of the library" % (int(size), plural)
        return "patterns"

    def children(self):
        patterns = self.list()
        if patterns is None:
            return
        for index, pattern in enumerate(elements_of(patterns["entries_"])):
            if int(pattern["end"]) != NO_NODE:
                yield "[%d]" % index, pattern["path"]


class ElementsPrinter:
    """Shows the segments of a path, or captures, like an array, in the order of iteration."""

    def __init__(self, levels, in_reverse=False):
        self.holder = levels[levels.type.fields()[0]]["m_holder"]  # of a small vector of Boost, the only member
        self.in_reverse = in_reverse

    def indexes(self):
        indexes = range(int(self.holder["m_size"]))
        return reversed(indexes) if self.in_reverse else indexes

    def to_string(self):
        return None if int(self.holder["m_size"]) > 0 else "no segments"

    def children(self):
        return ((str(index), (self.holder["m_start"] + index).dereference()) for index in self.indexes())

    def display_hint(self):
        return "array"


def segments_printer(segments):
    """Segments are in memory from the leaf on, and iterated from the first one on."""
    return ElementsPrinter(segments, in_reverse=True)


class ViewsPrinter(ElementsPrinter):
    """Shows the segments at which the cursors are: alone, a cursor is shown as the path that ends there."""

    def children(self):
        for index, view in super().children():
            segment, values = view["segment"].dereference(), view["values"].dereference()
            yield index, readable(write_segment(node_of(segment), node_of(values))[0])


class PointerPrinter:
    """Shows a pointer as its value and what it points to, as gdb does for strings of C."""

    def __init__(self, pointer, printer):
        self.address = int(pointer)
        self.printer = printer
        for name in ("children", "display_hint"):
            if hasattr(printer, name):
                setattr(self, name, getattr(printer, name))

    def to_string(self):
        try:
            text = self.printer.to_string()
        except gdb.MemoryError as error:
            text = "<error: %s>" % error
            self.children = lambda: iter(())
        return " ".join(filter(None, ["%#x" % self.address, text]))


class Printers(gdb.printing.RegexpCollectionPrettyPrinter):
    """The printers of this file, for values, for references and for pointers."""

    def __call__(self, value):
        declared = value.type.strip_typedefs()
        if declared.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            return self(value.referenced_value())
        if declared.code != gdb.TYPE_CODE_PTR:
            return super().__call__(value)
        if declared.target().strip_typedefs().code != gdb.TYPE_CODE_STRUCT or int(value) == 0:
            return None
        printer = super().__call__(value.dereference())
        return printer and PointerPrinter(value, printer)


def register():
    printers = Printers("TavikObjectPath")
    printers.add_printer("String", "^Tavik::Impl::StrB$", StringPrinter)
    printers.add_printer("ObjectPathSegment", "^Tavik::ObjectPathSegment$", SegmentPrinter)
    printers.add_printer("ObjectPath", "^Tavik::ObjectPath$", PathPrinter)
    printers.add_printer("View", "^Tavik::ObjectPath::View$", ViewPrinter)
    printers.add_printer("Views", "^Tavik::ObjectPath::Views$", ViewsPrinter)
    printers.add_printer("Captures", "^Tavik::ObjectPathCaptures$", ElementsPrinter)
    printers.add_printer("Segments", "^Tavik::ObjectPath::Segments$", segments_printer)
    printers.add_printer("ObjectPathAttributeRange", "^Tavik::ObjectPathAttributeRange$", AttributeRangePrinter)
    printers.add_printer("ObjectPathPatternSet", "^Tavik::ObjectPathPatternSet$", PatternSetPrinter)
    gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)


register()
