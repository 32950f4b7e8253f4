# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""Manual pages, made of the XML that Doxygen makes of the public headers.

A header has a page that tells what holds for all of it and lists what is in it; each of its
functions and each class has a page of its own; records, types and constants are found on the page
of their header, also by their names.
"""

import collections
import pathlib
import re
import textwrap
import xml.etree.ElementTree

WIDTH = 78


def header_page(path):
    """zol/str.h is described in zol-str(3), and zol/zol.h in zol(3)."""
    folder, name = path.removesuffix(".h").split("/")
    return name if folder == name else f"{folder}-{name}"


# --- text ---


def escape(text):
    return text.replace("\\", "\\e").replace("'", "\\(aq").replace("`", "\\(ga")


def code(text):
    return escape(text).replace("-", "\\-")


def bold(text):
    return f"\\fB{text}\\fP"


def lines_of(text):
    """Sentences begin a line of their own, and no line of text looks like a request."""
    lines = []
    for sentence in re.split(r"(?<=[.!?:])\s+(?=[A-Z\"(\\])", " ".join(text.split())):
        lines += textwrap.wrap(sentence, WIDTH, break_long_words=False, break_on_hyphens=False)
    return ["\\&" + line if line.startswith((".", "'")) else line for line in lines]


def code_block(text):
    lines = textwrap.dedent(text.strip("\n")).rstrip().split("\n")
    return [".PP", ".in +4n", ".EX", *("\\&" + line if line.startswith((".", "'")) else line
                                      for line in map(code, lines)), ".EE", ".in"]


class Docs:
    """What is said about one entry."""

    def __init__(self, element, pages):
        self.pages = pages  # ids of what has a page: its name
        self.parameters = []  # (names, text)
        self.results = []
        self.references = set()
        self.names = {name.text for name in element.iter("declname")}
        self.brief = " ".join(self.inline(para) for para in element.find("briefdescription"))
        self.brief = " ".join(self.brief.split())
        details = element.find("detaileddescription")
        self.body = [line for para in details if para.tag != "sect1" for line in self.block(para)]
        self.sections = [line for section in details.findall("sect1")
                         for line in self.section(section)]
        for para in element.find("briefdescription"):
            for part in para:
                self.aside(part)

    def summary(self, end=".;"):
        """The first sentence, or a part of it, as the description of a name."""
        text = self.brief or ("returns " + self.results[0] if self.results else "")
        text = re.sub(r"\\f[BIPR]", "", text)
        text = re.sub(rf"(?<=[a-z\")0-9])[{end}]( .*)?$", "", text)
        return text.replace("-", "\\-") if text else ""

    def lines(self):
        """All but parameters and results; a summary and what follows it are one paragraph."""
        if self.brief and self.body[:1] == [".PP"] and not self.body[1].startswith(".in"):
            return lines_of(self.brief) + self.body[1:]
        return self.chapter()

    def chapter(self):
        """The same, with the summary as a paragraph of its own."""
        return (lines_of(self.brief) if self.brief else []) + self.body

    def inline(self, element, nested=False):
        text = self.plain(element.text)
        for part in element:
            if part.tag == "computeroutput":
                inner = code("".join(part.itertext()))
                text += f"\\fI{inner}\\fP" if inner in self.names else bold(inner)
            elif part.tag == "ref":
                text += self.reference(part)
            elif part.tag in ("simplesect", "parameterlist", "verbatim", "itemizedlist"):
                pass
            else:
                text += self.inline(part, True)
            text += self.plain(part.tail)
        return text if nested else text.strip()

    @staticmethod
    def plain(text):
        text = escape(text or "")
        return re.sub(r"\b([a-z_][\w.]*)\(([1-8])\)", r"\\fB\1\\fP(\2)", text)

    def reference(self, element):
        name = "".join(element.itertext())
        page = self.pages.get(element.get("refid"))
        if page is None:
            return code(name)
        self.references.add(page)
        return bold(code(name.removesuffix("()"))) + ("(3)" if name.endswith("()") else "")

    def aside(self, part):
        if part.tag == "simplesect" and part.get("kind") == "return":
            self.results.append(" ".join(self.inline(para) for para in part))
        elif part.tag == "parameterlist":
            for item in part:
                names = ", ".join(code(name.text) for name in item.iter("parametername"))
                text = " ".join(self.inline(para) for para in item.find("parameterdescription"))
                self.parameters.append((names, text))

    def section(self, element):
        """A chapter of a page, after what the page has by itself."""
        return [f".SH {code(element.findtext('title')).upper()}",
                *(line for para in element.findall("para") for line in self.block(para))]

    def block(self, para):
        """The lines of a paragraph; results and parameters go where they belong."""
        lines = []
        text = self.plain(para.text)
        for part in para:
            if part.tag in ("simplesect", "parameterlist"):
                self.aside(part)
            elif part.tag == "verbatim":
                lines += self.paragraph(text) + code_block(part.text)
                text = ""
            elif part.tag == "itemizedlist":
                lines += self.paragraph(text)
                text = ""
                for item in part:
                    inner = " ".join(self.inline(inner) for inner in item)
                    lines += [".IP \\(bu 3", *lines_of(inner)]
            else:
                wrapper = xml.etree.ElementTree.Element("para")
                tail, part.tail = part.tail, None
                wrapper.append(part)
                text += self.inline(wrapper, True)
                part.tail = tail
            text += self.plain(part.tail)
        return lines + self.paragraph(text)

    @staticmethod
    def paragraph(text):
        return [".PP", *lines_of(text)] if text.strip() else []


# --- declarations ---


def type_of(element):
    found = element.find("type")
    return "" if found is None else " ".join("".join(found.itertext()).split())


def joined(kind, name):
    kind = re.sub(r"\s*([*&]+)$", r" \1", kind)
    return name if not kind else kind + ("" if kind.endswith(("*", "&")) else " ") + name


def declaration(member):
    """As it stands in the header, without its attributes."""
    kind, name = member.get("kind"), member.findtext("name")
    arguments = " ".join((member.findtext("argsstring") or "").split())
    if kind == "define":
        parameters = [parameter.findtext("defname") for parameter in member.iter("param")]
        value = member.findtext("initializer") or ""
        return f"#define {name}" + (f"({', '.join(parameters)})" if parameters else "") + \
            (f" {value}" if value.isdigit() else "")
    if kind == "typedef":
        return declared_type(member, name, arguments)
    if kind == "enum":
        values = ", ".join(value.findtext("name") + (" " + (value.findtext("initializer") or ""))
                           .rstrip() for value in member.iter("enumvalue"))
        return f"enum {name if name.isidentifier() else ''}".rstrip() + f" {{ {values} }};"
    text = joined(type_of(member), name)
    if member.get("kind") == "variable" and "(" in type_of(member):
        text = type_of(member).replace("(*", " (*") + name  # a pointer to a function
    for word, attribute in (("static", "static"), ("explicit", "explicit")):
        if member.get(attribute) == "yes" and not text.startswith(word):
            text = f"{word} {text}"
    if member.get("virt") in ("virtual", "pure-virtual") and "virtual" not in text:
        if "override" not in arguments:
            text = f"virtual {text}"
    return text + arguments.replace("=0", " = 0").replace("=delete", " = delete") + ";"


def declared_type(member, name, arguments):
    definition = member.findtext("definition")
    if definition.startswith("using"):
        return f"using {name} = {definition.split(' = ', 1)[1].strip()};"
    kind = type_of(member)
    if arguments:  # a pointer to a function
        return f"typedef {kind.replace('(*', ' (*')}{name}{arguments};"
    return f"typedef {joined(kind, name)};"


def wrapped(text):
    """A long declaration goes on under its first argument; arguments are not broken."""
    indent = min(text.find("(") + 1 if "(" in text else 4, 30)
    whole = re.sub(r"(?<!,) ", "\1", text)
    lines = textwrap.wrap(whole, WIDTH, subsequent_indent=" " * indent, break_long_words=False,
                          break_on_hyphens=False)
    return [line.replace("\1", " ") for line in lines]


def declarations(members):
    lines = [line for member in members for line in wrapped(declaration(member))]
    return [".nf", *(bold(code(line)) for line in lines), ".fi"]


# --- pages ---


class Manual:
    def __init__(self, xml_folder, folder, version, date):
        self.folder = folder
        self.footer = f'"{date}" "libzol {version}" "libzol"'
        self.pages = {}  # id of what is documented: name of its page
        self.headers = collections.OrderedDict()  # path: element
        self.classes = collections.OrderedDict()  # id: element
        self.namespaces = []
        for path in sorted(xml_folder.glob("*.xml")):
            found = xml.etree.ElementTree.parse(path).getroot().find("compounddef")
            if found is None:
                continue
            kind, name = found.get("kind"), found.findtext("compoundname")
            if kind == "file" and name.endswith(".h"):
                self.headers[found.find("location").get("file")] = found
            elif kind in ("class", "struct") and found.get("prot") == "public":
                self.classes[found.get("id")] = found
            elif kind == "namespace":
                self.namespaces.append(found)

    # what there is

    def members(self, element, *kinds):
        return [member for member in element.iter("memberdef")
                if member.get("kind") in kinds and member.get("prot") != "private"]

    def functions(self, header):
        """The functions of a header in their order; those that share a docstring together."""
        groups = []
        for section in header.findall("sectiondef"):
            found = self.members(section, "function")
            together = section.get("kind") == "user-defined"
            groups += [found] if together and found else [[member] for member in found]
        path = header.find("location").get("file")
        for namespace in self.namespaces:
            for member in self.members(namespace, "function"):
                if member.find("location").get("file") == path and \
                        not member.findtext("name").startswith("operator"):
                    groups.append([member])
        return sorted(groups, key=lambda group: int(group[0].find("location").get("line")))

    def is_record(self, element):
        """A plain record of the flat interface: described with its header."""
        return "::" not in element.findtext("compoundname")

    def class_name(self, element):
        return element.findtext("compoundname").split("<")[0].strip()

    def classes_of(self, path, records):
        """Of a template that is only declared, the specialisation counts."""
        found = {}
        for element in self.classes.values():
            if element.find("location").get("file") == path and \
                    self.is_record(element) == records:
                name = self.class_name(element)
                if name not in found or element.find("sectiondef") is not None:
                    found[name] = element
        return sorted(found.values(), key=lambda e: int(e.find("location").get("line")))

    @staticmethod
    def page_name(member):
        """What it is called by who uses it: zol::CStr, xstr_set, zolcrypt::hashEncode."""
        return member.findtext("qualifiedname") or member.findtext("name")

    # writing

    def write(self, name, lines):
        lines = [line for i, line in enumerate(lines)
                 if not (line == ".PP" and lines[i - 1].startswith((".SH", ".SS", ".PP")))]
        (self.folder / f"{name}.3").write_text("\n".join([
            '.\\" SPDX-FileCopyrightText: 2026 the libzol authors',
            '.\\" SPDX-License-Identifier: MIT',
            f'.TH "{code(name)}" 3 {self.footer}', *lines]) + "\n")

    def alias(self, name, page):
        if name.isidentifier() and name != page and not (self.folder / f"{name}.3").exists():
            (self.folder / f"{name}.3").write_text(f".so man3/{page}.3\n")

    def see_also(self, names, self_name):
        names = sorted(set(names) - {self_name}, key=lambda name: (name.lower(), name))
        return [".SH SEE ALSO", *(f".BR {code(name)} (3){',' if name != names[-1] else ''}"
                                  for name in names)]

    def described(self, docs, heading=".SS"):
        """Parameters and result of an entry, under headings or as paragraphs."""
        lines = []
        if docs.parameters:
            lines += [f"{heading} PARAMETERS"] if heading == ".SH" else []
            for names, text in docs.parameters:
                lines += [".TP", f".I {names}", *lines_of(text)]
        for result in docs.results:
            if heading == ".SH":
                lines += [".SH RETURN VALUE"] if result is docs.results[0] else [".PP"]
                lines += lines_of(result)
            else:
                lines += [".PP", *lines_of(f"Returns {result.rstrip('.')}.")]
        return lines

    def entry(self, group):
        """Members of a class, or parts of a header, under their declarations."""
        member = group[0]
        docs = Docs(member, self.pages)
        lines = [".PP", *declarations(group)]
        said = docs.lines() + self.described(docs)
        if member.get("kind") == "enum":
            for value in member.iter("enumvalue"):
                text = Docs(value, self.pages)
                if text.lines():
                    said += [".TP", ".B " + code(value.findtext("name")), *text.lines()]
        if said:
            lines += [".RS 4", *(said[1:] if said[0] == ".PP" else said), ".RE"]
        return lines

    def entries(self, heading, element, members):
        """Those that share a docstring stand together under it."""
        together = [[member for member in members if member in section.findall("memberdef")]
                    for section in element.findall("sectiondef")
                    if section.get("kind") == "user-defined"]
        lines = []
        done = []
        for member in members:
            group = next((group for group in together if member in group), [member])
            if member in done:
                continue
            done += group
            lines += self.entry(group)
        return [f".SH {heading}", *lines] if lines else []

    def write_function(self, group, path):
        name = self.page_name(group[0])
        docs = Docs(group[0], self.pages)
        names = [self.page_name(member) for member in group]
        lines = [".SH NAME", ", ".join(map(code, names)) + " \\- " + docs.summary(".:;"),
                 ".SH SYNOPSIS", ".nf", bold(f"#include <{path}>"), ".fi", ".PP",
                 *declarations(group)]
        if docs.lines():
            lines += [".SH DESCRIPTION", *docs.lines()]
        lines += self.described(docs, ".SH")
        lines += [".SH NOTES", *lines_of(
            f"What holds for all functions of this header, such as ownership, threads and units, is "
            f"told in {bold(code(header_page(path)))}(3).")]
        lines += self.see_also({header_page(path), *docs.references}, name)
        self.write(name, lines)
        for other in names[1:]:
            self.alias(other, name)

    def write_class(self, element, path):
        name = self.class_name(element)
        docs = Docs(element, self.pages)
        template = element.find("templateparamlist")
        head = "" if template is None else "template <" + ", ".join(
            joined(type_of(p), p.findtext("declname") or "").strip() +
            (f" = {''.join(p.find('defval').itertext())}" if p.find("defval") is not None else "")
            for p in template) + "> "
        bases = ", ".join(f"public {base.text}" for base in element.findall("basecompoundref"))
        full = re.sub(r"<\s*(.*?)\s*>", r"<\1>", element.findtext("compoundname"))
        line = f"{head}{element.get('kind')} {full}{' : ' + bases if bases else ''};"
        lines = [".SH NAME", f"{code(name)} \\- {docs.summary()}", ".SH SYNOPSIS", ".nf",
                 bold(f"#include <{path}>"), "", *(bold(code(l)) for l in wrapped(line)), ".fi"]
        lines += [".SH DESCRIPTION", *docs.chapter()]
        for names, text in docs.parameters:
            lines += [".TP", f".I {names}", *lines_of(text)]
        kinds = (("TYPES", ("typedef", "enum")), ("DATA", ("variable",)),
                 ("FUNCTIONS", ("function", "friend")))
        for heading, wanted in kinds:
            found = [m for m in self.members(element, *wanted)
                     if not (m.get("kind") == "friend" and "class" in type_of(m))]
            found.sort(key=lambda m: int(m.find("location").get("line")))
            lines += self.entries(heading, element, found)
        bases = {b.get("refid") for b in element.findall("basecompoundref")}
        lines += self.see_also({header_page(path), *docs.references,
                                *(self.pages[b] for b in bases if b in self.pages)}, name)
        self.write(name, lines)

    def write_header(self, path, header):
        name = header_page(path)
        docs = Docs(header, self.pages)
        lines = [".SH NAME", f"{code(name)} \\- {docs.summary()}", ".SH SYNOPSIS", ".nf",
                 bold(f"#include <{path}>"), ".fi", ".SH DESCRIPTION", *docs.chapter()]
        groups = self.functions(header)
        if groups:
            lines += [".SH FUNCTIONS"]
            for group in groups:
                summary = Docs(group[0], self.pages).summary(".:;")
                names = ", ".join(f"{bold(code(self.page_name(m)))}(3)" for m in group)
                lines += [".TP", names, *lines_of(summary)]
        found = self.classes_of(path, records=False)
        if found:
            lines += [".SH CLASSES"]
            for element in found:
                summary = Docs(element, self.pages).summary()
                lines += [".TP", f"{bold(code(self.class_name(element)))}(3)", *lines_of(summary)]
        records = self.classes_of(path, records=True)
        if records:
            lines += [".SH RECORDS"]
            for element in records:
                lines += self.record(element)
        hidden = {self.class_name(element) for element in records}
        types = [m for m in self.members(header, "typedef", "enum")
                 if m.findtext("name") not in hidden]
        lines += self.entries("TYPES", header, types)
        lines += self.entries("CONSTANTS", header, self.members(header, "variable"))
        macros = [m for m in self.members(header, "define")
                  if Docs(m, self.pages).lines()]
        lines += self.entries("MACROS", header, macros)
        if name == "zol":
            lines += [".SH HEADERS"]
            for other in sorted(set(self.headers) - {path}):
                summary = Docs(self.headers[other], self.pages).summary()
                lines += [".TP", f"{bold(code(header_page(other)))}(3)", *lines_of(summary)]
        lines += docs.sections
        if name == "zol":
            lines += [".SH SEE ALSO", ".BR evlp\\-sim (1),", ".BR zolcat (1)"]
        else:
            lines += self.see_also({"zol", *docs.references}, name)
        self.write(name, lines)
        for member in [*types, *self.members(header, "variable")]:
            self.alias(member.findtext("name"), name)
        for element in records:
            self.alias(self.class_name(element), name)

    def record(self, element):
        docs = Docs(element, self.pages)
        lines = [f".SS {code(self.class_name(element))}", *docs.lines()]
        for member in self.members(element, "variable"):
            text = Docs(member, self.pages)
            lines += [".TP", bold(code(declaration(member).rstrip(";"))), *text.lines(),
                      *self.described(text)]
        return lines

    def write_all(self):
        for path, header in self.headers.items():
            for group in self.functions(header):
                for member in group:
                    self.pages[member.get("id")] = self.page_name(member)
            for element in self.classes_of(path, records=False):
                self.pages[element.get("id")] = self.class_name(element)
            self.pages[header.get("id")] = header_page(path)
        self.folder.mkdir(parents=True)
        for path, header in self.headers.items():
            for group in self.functions(header):
                self.write_function(group, path)
            for element in self.classes_of(path, records=False):
                self.write_class(element, path)
        for path, header in self.headers.items():
            self.write_header(path, header)


def write_pages(xml_folder, folder, version, date):
    Manual(pathlib.Path(xml_folder), pathlib.Path(folder), version, date).write_all()
