# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""How gdb shows what libzol's handles stand for.

    (gdb) print name
    $1 = "kitchen" (length 7, capacity 16, references 2)
    (gdb) print names
    $2 = table of 2 (capacity 8, references 1) = {7, 5}
    (gdb) print start
    $3 = 2026-11-22 06:30:00.000000 UTC
    (gdb) zol-elements jobs job link
    [0] 0x4b72a0 {link = ..., id = 7}

gdb loads this with libzol.so where it is installed for the system; else: source zol_gdb.py. It reads
the hidden header that lies before the data of every handle, and shows a handle whose header cannot be
one as bad, with its address.
"""

import datetime

import gdb
import gdb.printing

STRINGS = ("xstr",)
TABLES = ("xtab", "xbuffer")
CONTAINERS = ("xlist", "xfifo", "xlifo")

EPOCH = 62135596800000000  # of CTime: 1970 in microseconds since the year 1


def pointer_size():
    return gdb.lookup_type("void").pointer().sizeof


def read_number(address, size, signed=True):
    """A number of the program that is looked at, in its byte order."""
    kind = {4: "int", 8: "long long"}[size]
    kind = gdb.lookup_type(kind if signed else "unsigned " + kind)
    return int(gdb.Value(address).cast(kind.pointer()).dereference())


class Header:
    """The hidden header of a table: counts, references, and behind them the descriptor."""

    def __init__(self, data):
        """Raises gdb.MemoryError or ValueError where there cannot be one."""
        pointer = pointer_size()
        size = 12 + 4 * (pointer == 8) + pointer
        self.count, self.capacity, self.references = (
            read_number(data - size + offset, 4) for offset in (0, 4, 8))
        descriptor = read_number(data - pointer, pointer, signed=False)
        header_size, self.element_size, step = (
            read_number(descriptor + offset, 4, signed=False) for offset in (0, 4, 8))
        if header_size != size or self.element_size == 0 or step == 0 or \
                not 0 <= self.count <= self.capacity or self.references < 0:
            raise ValueError("no header")

    def __str__(self):
        return f"capacity {self.capacity}, references {self.references}"


def header_of(data):
    """The header of a handle; None where there is none."""
    try:
        return Header(data)
    except (gdb.MemoryError, ValueError):
        return None


def bad(data):
    return f"<bad handle {data:#x}>"


def show_bytes(data, count):
    """Text as gdb writes it, with its limit of length: no more is read than it shows."""
    kind = gdb.lookup_type("char")
    if count == 0:
        return '""'
    shown = min(count, gdb.parameter("print elements") or count)
    text = gdb.Value(data).cast(kind.array(shown - 1).pointer()).dereference().format_string()
    return text if shown == count else text + "..."


def show_string(data):
    if data == 0:
        return "null"
    header = header_of(data)
    if header is None or header.element_size != 1:
        return bad(data)
    length = max(header.count - 1, 0)
    text = show_bytes(data, length)
    return text if header.capacity == 0 else f"{text} (length {length}, {header})"


class String:
    """An xstr, by the name of its type: a char* that is not called so may be anything."""

    def __init__(self, value):
        self.data = int(value.cast(gdb.lookup_type("void").pointer())) & (1 << 64) - 1

    def to_string(self):
        return show_string(self.data)


class ClassString(String):
    def __init__(self, value):
        super().__init__(value["m_str"])


class Table:
    """An xtab or xbuffer: its elements have no type that gdb could know."""

    def __init__(self, value):
        self.data = int(value.cast(gdb.lookup_type("void").pointer()))
        self.is_buffer = value.type.unqualified().name == "xbuffer"

    def to_string(self):
        if self.data == 0:
            return "empty buffer" if self.is_buffer else "empty table"
        header = header_of(self.data)
        if header is None:
            return bad(self.data)
        if self.is_buffer:
            return f"{show_bytes(self.data, header.count)} (length {header.count}, {header})"
        return f"table of {header.count} of {header.element_size} bytes ({header})"


class ClassTable:
    """A zol::CTab, with its elements."""

    def __init__(self, value):
        self.data = int(value["m_table"].cast(gdb.lookup_type("void").pointer()))
        self.element = value.type.strip_typedefs().unqualified().template_argument(0)
        self.header = header_of(self.data) if self.data != 0 else None

    def to_string(self):
        if self.data == 0:
            return "empty table"
        if self.header is None or self.header.element_size != self.element.sizeof:
            return bad(self.data)
        return f"table of {self.header.count} ({self.header})"

    def children(self):
        if self.header is not None and self.header.element_size == self.element.sizeof:
            first = gdb.Value(self.data).cast(self.element.pointer())
            for index in range(self.header.count):
                yield f"[{index}]", (first + index).dereference()

    @staticmethod
    def display_hint():
        return "array"


class Time:
    """A zol::CTime: a date, or a duration or time since the system was started."""

    def __init__(self, value):
        self.count = int(value["m_us"])

    def to_string(self):
        special = {-1: "infinite", -2: "undefined"}
        if self.count in special:
            return special[self.count]
        if self.count < EPOCH:
            sign = "-" if self.count < 0 else ""
            return f"{sign}{abs(self.count) // 1000000}.{abs(self.count) % 1000000:06} s"
        try:
            date = datetime.datetime(1970, 1, 1) + \
                datetime.timedelta(microseconds=self.count - EPOCH)
        except OverflowError:
            return f"{self.count} us since the year 1"
        return date.strftime("%Y-%m-%d %H:%M:%S.%f UTC")


class Container:
    """A list, FIFO or LIFO: where the links of its elements are, it does not know."""

    def __init__(self, value):
        self.value = value
        self.name = value.type.strip_typedefs().unqualified().name

    def to_string(self):
        if self.name == "xlist":
            return f"list of {int(self.value['count'])}"
        first = self.value["head" if self.name == "xfifo" else "top"]
        kind = "FIFO" if self.name == "xfifo" else "LIFO"
        return f"empty {kind}" if int(first) == 0 else kind

    def children(self):
        for field in ("head", "tail") if self.name != "xlifo" else ("top",):
            if int(self.value[field]) != 0:
                yield field, self.value[field]


class Elements(gdb.Command):
    """Shows the elements of a list, FIFO or LIFO of libzol, and how they hang together.

zol-elements CONTAINER TYPE [LINK]

CONTAINER is an expression: an xlist, xfifo or xlifo. Its elements are records of TYPE, linked through
their field LINK; or, without LINK, objects of a class TYPE that derives from zol::CListElem."""

    MOST = 10000

    def __init__(self):
        super().__init__("zol-elements", gdb.COMMAND_DATA, gdb.COMPLETE_EXPRESSION)

    def invoke(self, argument, _from_tty):
        words = gdb.string_to_argv(argument)
        if len(words) not in (2, 3):
            raise gdb.GdbError("usage: zol-elements CONTAINER TYPE [LINK]")
        container = gdb.parse_and_eval(words[0])
        if container.type.strip_typedefs().code == gdb.TYPE_CODE_REF:
            container = container.referenced_value()
        name = container.type.strip_typedefs().unqualified().name
        if name not in CONTAINERS:
            raise gdb.GdbError(f"{words[0]} is of type {container.type}: no list, FIFO or LIFO")
        kind = self.type_of(words[1])
        offset, start = self.link_of(kind, words[2] if len(words) == 3 else None)
        next_offset = offset + (pointer_size() if name == "xlist" else 0)
        element = int(container["top" if name == "xlifo" else "head"])
        for index in range(self.MOST):
            if element == 0:
                return
            try:
                value = gdb.Value(element - start).cast(kind.pointer()).dereference()
                gdb.write(f"[{index}] {element - start:#x} {value.format_string()}\n")
                element = read_number(element + next_offset, pointer_size(), signed=False)
            except gdb.MemoryError:
                raise gdb.GdbError(f"[{index}] <bad element {element:#x}>") from None
        raise gdb.GdbError(f"more than {self.MOST} elements: the list runs in a circle")

    @staticmethod
    def type_of(name):
        for spelling in (name, f"struct {name}", f"zol::{name}"):
            try:
                return gdb.parse_and_eval(f"({spelling} *) 0").type.target().strip_typedefs()
            except gdb.error:
                pass
        raise gdb.GdbError(f"there is no type {name}")

    @staticmethod
    def link_of(kind, name):
        """Where the links are in what the container points to, and where in the element that is."""
        for field in kind.fields():
            if name is not None and field.name == name:
                return field.bitpos // 8, 0
            if name is None and field.is_base_class and \
                    str(field.type.strip_typedefs()).startswith("zol::CListElem<"):
                return 0, field.bitpos // 8
        raise gdb.GdbError(f"{kind} has no field {name}" if name is not None else
                           f"{kind} does not derive from zol::CListElem: name the field of its links")


class Printers(gdb.printing.PrettyPrinter):
    """Chooses by the name of a type: handles are known by that of their typedef alone."""

    TYPEDEFS = {**dict.fromkeys(STRINGS, String), **dict.fromkeys(TABLES, Table)}
    TYPES = {"zol::CStr": ClassString, "zol::CTime": Time, **dict.fromkeys(CONTAINERS, Container)}

    def __call__(self, value):
        kind = value.type
        if kind.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
            kind = value.type
        name = kind.unqualified().name
        if name in self.TYPEDEFS:
            return self.TYPEDEFS[name](value)
        name = kind.strip_typedefs().unqualified().name or ""
        if name.startswith("zol::CTab<"):
            return ClassTable(value)
        return self.TYPES[name](value) if name in self.TYPES else None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers("zol"), replace=True)
Elements()
