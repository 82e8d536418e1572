#!/usr/bin/python3
"""product_test.py PROGRAM SUBSYSTEM NAME VERSION: what is shipped is hardened, and needs nothing but Windows.

SUBSYSTEM is "windows" for a program without a console, "console" for one with it.

Each property is checked on the product, and then on a copy of it in which that property alone was spoilt: a check
that would let the copy pass is no check.
"""

import struct
import sys
import unittest

import portable_executable
from portable_executable import Malformed, PortableExecutable

# Every library that Windows 10 itself brings and that the product uses. A new name here is a decision.
SYSTEM_LIBRARIES = {
    "advapi32.dll", "gdi32.dll", "imagehlp.dll", "iphlpapi.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll",
    "oleaut32.dll", "shell32.dll", "user32.dll", "ws2_32.dll",
}

program_path, subsystem_name, product_name, product_version = sys.argv[1:5]
SUBSYSTEM = {"windows": portable_executable.SUBSYSTEM_GUI,
             "console": portable_executable.SUBSYSTEM_CONSOLE}[subsystem_name]


def faults(data):
    """Names of what is wrong with the program."""
    try:
        program = PortableExecutable(data)
        foreign = {name for name in program.imports() if name.lower() not in SYSTEM_LIBRARIES}
        version = program.version_strings()
        relocations = program.directory(portable_executable.DIRECTORY_RELOCATION)
    except Malformed:
        return {"malformed"}
    flags = program.dll_characteristics
    found = {
        "machine": program.machine != portable_executable.MACHINE_AMD64,
        "subsystem": program.subsystem != SUBSYSTEM,
        "address layout": not flags & portable_executable.DYNAMIC_BASE,
        "high entropy": not flags & portable_executable.HIGH_ENTROPY_VA,
        "no execute": not flags & portable_executable.NX_COMPAT,
        # Without relocations the two flags above promise what the loader cannot keep.
        "relocations": bool(program.characteristics & portable_executable.RELOCS_STRIPPED) or not relocations,
        "imports": bool(foreign) or not program.imports(),
        "version": (version.get("ProductName"), version.get("ProductVersion"), version.get("FileVersion"))
        != (product_name, product_version, product_version),
    }
    return {name for name, is_wrong in found.items() if is_wrong}


class Product(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with open(program_path, "rb") as file:
            cls.data = file.read()
        cls.program = PortableExecutable(cls.data)

    def spoilt(self, form, offset, value):
        data = bytearray(self.data)
        struct.pack_into(form, data, offset, value)
        return bytes(data)

    def with_flag_cleared(self, flag):
        return self.spoilt("<H", self.program.optional + 70, self.program.dll_characteristics & ~flag)

    def test_the_product_is_without_fault(self):
        self.assertEqual(faults(self.data), set(), self.program.imports())

    def test_another_machine_is_noticed(self):
        self.assertEqual(faults(self.spoilt("<H", self.program.header + 4, 0x014C)), {"machine"})

    def test_a_program_of_the_other_subsystem_is_noticed(self):
        other = {portable_executable.SUBSYSTEM_GUI: portable_executable.SUBSYSTEM_CONSOLE,
                 portable_executable.SUBSYSTEM_CONSOLE: portable_executable.SUBSYSTEM_GUI}[SUBSYSTEM]
        self.assertEqual(faults(self.spoilt("<H", self.program.optional + 68, other)), {"subsystem"})

    def test_each_missing_flag_is_noticed(self):
        for flag, name in ((portable_executable.DYNAMIC_BASE, "address layout"),
                           (portable_executable.HIGH_ENTROPY_VA, "high entropy"),
                           (portable_executable.NX_COMPAT, "no execute")):
            with self.subTest(name):
                self.assertEqual(faults(self.with_flag_cleared(flag)), {name})

    def test_missing_relocations_are_noticed(self):
        entry = self.program.directory_offset + 8 * portable_executable.DIRECTORY_RELOCATION
        self.assertEqual(faults(self.spoilt("<Q", entry, 0)), {"relocations"})

    def test_an_import_of_another_library_is_noticed(self):
        for name in self.program.imports():
            with self.subTest(name):
                at = self.data.index(name.encode() + b"\0")
                self.assertEqual(faults(self.spoilt("<B", at, ord("Z"))), {"imports"})

    def test_a_missing_import_table_is_noticed(self):
        entry = self.program.directory_offset + 8 * portable_executable.DIRECTORY_IMPORT
        self.assertEqual(faults(self.spoilt("<Q", entry, 0)), {"imports"})

    def test_a_missing_version_resource_is_noticed(self):
        entry = self.program.directory_offset + 8 * portable_executable.DIRECTORY_RESOURCE
        self.assertEqual(faults(self.spoilt("<Q", entry, 0)), {"version"})

    def test_another_name_and_version_are_noticed(self):
        for text in product_name, product_version:
            with self.subTest(text):
                at = self.data.rindex(text.encode("utf-16-le"))
                self.assertEqual(faults(self.spoilt("<B", at, ord("~"))), {"version"})

    def test_a_file_that_is_no_program_is_noticed(self):
        for data in b"", b"MZ", self.data[:0x100], b"\x7fELF" + self.data[4:]:
            self.assertEqual(faults(data), {"malformed"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
