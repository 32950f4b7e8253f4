#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
"""The recipes in packaging/ set options that exist, name the version and the licence as they are,
and install what the build installs; each is read by the rules of its system, as far as stubs of
those in recipes/ go.

usage: recipes.py SOURCE_DIR BUILD_DIR
"""

import fnmatch
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import kconfiglib

STUBS = pathlib.Path(__file__).resolve().parent / "recipes"
OPTIONS_OF_EACH = {"ZOL_BUILD_TESTS", "ZOL_BUILD_EXAMPLES", "ZOL_BUILD_TOOLS"}


def fail_unless(condition, text):
    if not condition:
        sys.exit(text)


class Tree:
    """What is true: the sources, and what their build installs into a stage."""

    def __init__(self, source, build, stage):
        self.source, self.build = source, build
        lines = (source / "include/zol/version.h").read_text()
        self.version = ".".join(
            re.findall(r"#define ZOL_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)", lines))
        self.options = set()
        for path in ("CMakeLists.txt", "docs/CMakeLists.txt"):
            self.options.update(re.findall(r"^(?:option|set(?=.* CACHE ))\((ZOL_\w+) ",
                                           (source / path).read_text(), re.MULTILINE))
        # Under /usr, wherever libraries lie in this build.
        run("cmake", "--install", build, "--prefix", stage / "usr")
        self.stage = stage
        self.files = files_in(stage)
        self.libraries = {name for name in self.files
                          if re.search(r"/lib(zol|evlp|xexec)\.so[.\d]*\.\d+$", name)}
        fail_unless(len(self.libraries) == 6, f"libraries are installed as {self.libraries}")

    def check_options(self, name, text, *more):
        given = dict(re.findall(r"-D(\w+)=(\w+)", text))
        for option, value in given.items():
            fail_unless(option in self.options, f"{name}: there is no option {option}")
            fail_unless(value in ("ON", "OFF"), f"{name}: {option} is {value}")
        missing = OPTIONS_OF_EACH.union(more) - set(given)
        fail_unless(not missing, f"{name}: {missing} are not said")
        fail_unless(given["ZOL_BUILD_TESTS"] == "OFF", f"{name}: builds tests")
        return given

    def check_common(self, name, said):
        fail_unless(said["version"] == self.version, f"{name}: version {said['version']}")
        fail_unless(said["archive"] == f"zol-{self.version}.tar.gz",
                    f"{name}: fetches {said['archive']}")
        fail_unless(said["licence"] == "MIT LICENSE", f"{name}: licence {said['licence']}")


def run(*command, **environment):
    done = subprocess.run([str(word) for word in command], env={**os.environ, **environment},
                          capture_output=True, text=True)
    fail_unless(done.returncode == 0 and not done.stderr,
                f"{' '.join(map(str, command))}:\n{done.stdout}{done.stderr}")
    return done.stdout


def files_in(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*")
            if path.is_symlink() or path.is_file()}


def said_by(*command):
    return dict(line.split("=", 1) for line in run(*command).splitlines())


# --- Buildroot ---


def check_menu(path):
    """The package can be chosen where all that it needs is there; elsewhere that is said."""
    os.environ["RECIPE"] = str(path)
    menu = kconfiglib.Kconfig(str(STUBS / "Kconfig"), warn_to_stderr=False)
    fail_unless(not menu.warnings, f"{path}: {menu.warnings}")
    package = menu.syms["BR2_PACKAGE_ZOL"]
    comment, = [node for node in menu.node_iter() if node.item is kconfiglib.COMMENT]
    needed = {"BR2_INSTALL_LIBSTDCPP": 2, "BR2_TOOLCHAIN_GCC_AT_LEAST_8": 2,
              "BR2_TOOLCHAIN_HAS_THREADS_NPTL": 2, "BR2_USE_WCHAR": 2, "BR2_STATIC_LIBS": 0}
    for missing in [None, *needed]:
        for symbol, value in needed.items():
            menu.syms[symbol].set_value(2 - value if symbol == missing else value)
        can_be_chosen, complains = package.visibility == 2, kconfiglib.expr_value(comment.dep) == 2
        fail_unless(can_be_chosen == (missing is None) != complains,
                    f"{path}: without {missing}: chosen {can_be_chosen}, complains {complains}")
    for symbol, value in needed.items():
        menu.syms[symbol].set_value(value)
    for choice in ("BR2_PACKAGE_ZOL_PRIVATE_RUNTIME", "BR2_PACKAGE_ZOL_TOOLS"):
        for value in (0, 2):
            package.set_value(value)
            fail_unless(menu.syms[choice].visibility == value, f"{path}: {choice} without zol")
    return set(menu.syms)


def check_buildroot(tree, work):
    folder = tree.source / "packaging/buildroot/zol"
    symbols = check_menu(folder / "Config.in")
    recipe = folder / "zol.mk"
    used = set(re.findall(r"BR2_PACKAGE_\w+", recipe.read_text()))
    fail_unless(used and used <= symbols, f"zol.mk asks for {used - symbols}")
    make = ["make", "-rRsf", STUBS / "buildroot.mk", f"RECIPE={recipe}",
            f"ZOL_BUILDDIR={tree.build}"]
    for chosen, value in (([], "OFF"), ([f"{symbol}=y" for symbol in used], "ON")):
        said = said_by(*make, *chosen, "show")
        tree.check_common("zol.mk", said)
        fail_unless(said["evaluated"].split() == ["target", "host"] and said["staging"] == "YES",
                    f"zol.mk: {said}")
        given = tree.check_options("zol.mk", said["options"], "ZOL_PRIVATE_RUNTIME")
        fail_unless(given["ZOL_BUILD_TOOLS"] == given["ZOL_PRIVATE_RUNTIME"] == value,
                    f"zol.mk: {given} with {chosen}")
        fail_unless(tree.check_options("zol.mk", said["host_options"])["ZOL_BUILD_TOOLS"] == "ON",
                    "zol.mk: no zolcat for the build machine")

        target = work / f"buildroot-{value}"
        run(*make, *chosen, f"TARGET_DIR={target}", "install")
        names = {pathlib.Path(name).name for name in files_in(target)}
        wanted = {pathlib.Path(name).name for name in tree.libraries}
        fail_unless(wanted <= names and ("zolcat" in names) == (value == "ON") and
                    not any("sim" in name or name.endswith((".so", ".h")) for name in names),
                    f"zol.mk installs {names}")
        fail_unless(value == "ON" or wanted == names, f"zol.mk installs {names - wanted}")

    sums = dict(line.split()[:0:-1] for line in (folder / "zol.hash").read_text().splitlines()
                if not line.startswith("#"))
    licence = hashlib.sha256((tree.source / "LICENSE").read_bytes()).hexdigest()
    fail_unless(sums.get("LICENSE") == licence, f"zol.hash: the sum of LICENSE is {licence}")
    fail_unless(set(sums) == {"LICENSE", f"zol-{tree.version}.tar.gz"} and
                all(re.fullmatch("[0-9a-f]{64}", value) for value in sums.values()),
                f"zol.hash: {sums}")


# --- OpenWrt ---


def check_openwrt(tree, work):
    recipe = tree.source / "packaging/openwrt/zol/Makefile"
    top = work / "openwrt"
    (top / "include").mkdir(parents=True)
    (top / "rules.mk").symlink_to(STUBS / "openwrt.mk")
    for name in re.findall(r"^include \$\(INCLUDE_DIR\)/([\w-]+\.mk)$", recipe.read_text(),
                           re.MULTILINE):
        (top / "include" / name).touch()
    # There libraries lie in /usr/lib, and nowhere else.
    staged = work / "openwrt-stage"
    (staged / "usr/lib").mkdir(parents=True)
    for name in tree.files:
        if re.search(r"/lib\w+\.so[.\d]*$", name):
            (staged / "usr/lib" / pathlib.Path(name).name).write_bytes(b"")
    make = ["make", "-rRsf", recipe, f"TOPDIR={top}", f"INCLUDE_DIR={top}/include",
            f"PKG_INSTALL_DIR={staged}"]
    said = said_by(*make, "show")
    tree.check_common("openwrt/zol/Makefile", said)
    fail_unless(said["evaluated"].split() == ["host", "libzol"] and said["staging"] == "1" and
                said["abi"] == tree.version.split(".")[0] and said["described"] and
                said["placed"].startswith("libs Libraries "), f"openwrt/zol/Makefile: {said}")
    given = tree.check_options("openwrt/zol/Makefile", said["options"], "ZOL_PRIVATE_RUNTIME")
    fail_unless(given["ZOL_PRIVATE_RUNTIME"] == "ON" and given["ZOL_BUILD_TOOLS"] == "OFF",
                f"openwrt/zol/Makefile: {given}")
    given = tree.check_options("openwrt/zol/Makefile", said["host_options"])
    fail_unless(given["ZOL_BUILD_TOOLS"] == "ON", f"openwrt/zol/Makefile: {given}")
    run(*make, f"DEST={work}/openwrt-root", "install")
    installed = files_in(work / "openwrt-root")
    wanted = {f"usr/lib/{pathlib.Path(name).name}" for name in tree.libraries}
    fail_unless(installed == wanted, f"openwrt/zol/Makefile installs {installed}")


# --- Yocto ---

# What a recipe that says nothing puts into its packages, in the order in which files are given
# away; as far as this library has such files.
DEFAULT_FILES = {
    "${PN}-dev": "${includedir} ${libdir}/lib*.so ${libdir}/pkgconfig ${libdir}/cmake",
    "${PN}-doc": "${docdir} ${mandir}",
    "${PN}": "${bindir}/* ${libdir}/lib*.so.*",
}


def assignments(path):
    """Every line is an assignment, an inherit or a comment."""
    text = re.sub(r"\\\n", " ", path.read_text())
    found = []
    for line in text.splitlines():
        if not line or line.startswith(("#", "inherit ")):
            continue
        parts = re.fullmatch(r"([A-Za-z_][\w:${}-]*(?:\[[\w-]+\])?) (\?\?=|\?=|=\+|\+=|=) "
                             r'"([^"]*)"', line)
        fail_unless(parts, f"{path.name}: cannot be read: {line}")
        fail_unless(parts[3].count("${") == len(re.findall(r"\$\{[A-Z]*[a-z]*\}", parts[3])),
                    f"{path.name}: braces: {line}")
        found.append(parts.groups())
    return found


def check_yocto(tree):
    path, = (tree.source / "packaging/yocto").glob("*.bb")
    fail_unless(path.name == f"zol_{tree.version}.bb",
                f"{path.name}: the version is {tree.version}")
    found = assignments(path)
    values = {name: value for name, _, value in found}
    fail_unless(len(values) == len(found), f"{path.name}: sets a variable twice")
    fail_unless(re.search(r"^inherit cmake pkgconfig$", path.read_text(), re.MULTILINE),
                f"{path.name}: inherits nothing")
    licence = hashlib.md5((tree.source / "LICENSE").read_bytes()).hexdigest()
    fail_unless(values["LIC_FILES_CHKSUM"] == f"file://LICENSE;md5={licence}" and
                values["LICENSE"] == "MIT", f"{path.name}: the sum of LICENSE is {licence}")
    fail_unless(values["SRC_URI"].endswith("/${BP}.tar.gz") and
                re.fullmatch("[0-9a-f]{64}", values["SRC_URI[sha256sum]"]),
                f"{path.name}: {values['SRC_URI']}")
    on, off = values["PACKAGECONFIG[private-runtime]"].split(",")
    for option in (on, off):
        tree.check_options(path.name, f"{values['EXTRA_OECMAKE']} {option}", "ZOL_PRIVATE_RUNTIME")
    fail_unless(tree.check_options(path.name, values["EXTRA_OECMAKE"])["ZOL_BUILD_TOOLS"] == "ON",
                f"{path.name}: zolcat is packaged, and not built")

    # Every file belongs to a package, and every pattern of ours has one.
    libdir = str(pathlib.Path(next(iter(tree.libraries))).parent)
    folders = {"bindir": "usr/bin", "includedir": "usr/include", "libdir": libdir,
               "datadir": "usr/share", "docdir": "usr/share/doc", "mandir": "usr/share/man"}
    packages = [(name, values[f"FILES:{name}"]) for name in values["PACKAGES"].split()]
    packages += [(name, text + " " + values.get(f"FILES:{name}", ""))
                 for name, text in DEFAULT_FILES.items()]
    left, got = set(tree.files), {}
    for name, text in packages:
        for pattern in re.sub(r"\$\{(\w+)\}", lambda part: folders[part[1]], text).split():
            taken = {file for file in left if fnmatch.fnmatchcase(file, pattern) or
                     file.startswith(pattern + "/")}
            fail_unless(taken or name in DEFAULT_FILES and pattern not in
                        values.get(f"FILES:{name}", ""), f"{path.name}: nothing is {pattern}")
            got.setdefault(name, set()).update(taken)
            left -= taken
    fail_unless(not left, f"{path.name}: {left} belong to no package")
    fail_unless(got["${PN}"] == tree.libraries, f"{path.name}: at run time {got['${PN}']}")


def main():
    source, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        tree = Tree(source, build, work / "stage")
        check_buildroot(tree, work)
        check_openwrt(tree, work)
        check_yocto(tree)
    print("the recipes for Buildroot, OpenWrt and Yocto agree with the build")


main()
