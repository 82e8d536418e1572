"""Reads of a Windows program what says how the system will load it: header, imports, version resource."""

import struct

MACHINE_AMD64 = 0x8664
SUBSYSTEM_GUI, SUBSYSTEM_CONSOLE = 2, 3
HIGH_ENTROPY_VA, DYNAMIC_BASE, NX_COMPAT = 0x0020, 0x0040, 0x0100
RELOCS_STRIPPED = 0x0001
DIRECTORY_IMPORT, DIRECTORY_RESOURCE, DIRECTORY_RELOCATION, DIRECTORY_DELAY_IMPORT = 1, 2, 5, 13
RESOURCE_VERSION = 16


class Malformed(Exception):
    """The file is no program that could be read to the end."""


class PortableExecutable:
    """machine, characteristics, subsystem, dll_characteristics: the header's fields of these names.
    directory_offset: where in the file the header lists its directories; for crafting broken files."""

    def __init__(self, data):
        self.data = data
        if data[:2] != b"MZ":
            raise Malformed("no MZ")
        self.header = self.unpack("<I", 0x3C)[0]
        if data[self.header:self.header + 4] != b"PE\0\0":
            raise Malformed("no PE")
        self.machine, sections, _, _, _, optional_size, self.characteristics = self.unpack("<HHIIIHH", self.header + 4)
        self.optional = self.header + 24
        if self.unpack("<H", self.optional)[0] != 0x20B:
            raise Malformed("not PE32+")
        self.subsystem, self.dll_characteristics = self.unpack("<HH", self.optional + 68)
        count = self.unpack("<I", self.optional + 108)[0]
        self.directory_offset = self.optional + 112
        self.directories = [self.unpack("<II", self.directory_offset + 8 * i) for i in range(count)]
        self.sections = [self.unpack("<IIII", self.optional + optional_size + 40 * i + 8) for i in range(sections)]

    def unpack(self, form, offset):
        try:
            return struct.unpack_from(form, self.data, offset)
        except struct.error as error:
            raise Malformed(f"truncated: {error}") from error

    def directory(self, index):
        """Offset in the file and size of a directory, or None if the program has none."""
        if index >= len(self.directories) or self.directories[index] == (0, 0):
            return None
        address, size = self.directories[index]
        return self.offset(address), size

    def offset(self, address):
        """The place in the file of what is loaded at this address, relative to the image."""
        for virtual_size, virtual_address, raw_size, raw_offset in self.sections:
            if virtual_address <= address < virtual_address + max(virtual_size, raw_size):
                return address - virtual_address + raw_offset
        raise Malformed(f"address {address:#x} is in no section")

    def text(self, offset):
        end = self.data.find(b"\0", offset)
        if end < 0:
            raise Malformed("text without end")
        return self.data[offset:end].decode("ascii")

    def imports(self):
        """Names of the libraries that are loaded with the program, and of those that are loaded on first use."""
        names = []
        for index, record_size, name_at in (DIRECTORY_IMPORT, 20, 12), (DIRECTORY_DELAY_IMPORT, 32, 4):
            found = self.directory(index)
            place = found[0] if found else None
            while place is not None:
                name = self.unpack("<I", place + name_at)[0]
                if name == 0:
                    break
                names.append(self.text(self.offset(name)))
                place += record_size
        return names

    def version_strings(self):
        """The texts of the version resource by their names; empty if there is none."""
        root = self.directory(DIRECTORY_RESOURCE)
        place = self._resource(root[0], 0, RESOURCE_VERSION) if root else None
        if place is None:
            return {}
        address, size = self.unpack("<II", place)
        start = self.offset(address)
        strings = {}
        self._version_block(start, start + size, strings)
        return strings

    def _resource(self, root, table, wanted=None):
        """Down the tree of resources: the first entry of type `wanted`, and below it the first of everything."""
        named, numbered = self.unpack("<HH", root + table + 12)
        for i in range(named + numbered):
            identity, child = self.unpack("<II", root + table + 16 + 8 * i)
            if wanted in (None, identity):
                return self._resource(root, child & 0x7FFFFFFF) if child & 0x80000000 else root + child
        return None

    def _version_block(self, start, limit, strings):
        """One block of the resource and the blocks in it. Every block and every value starts at a multiple of 4."""
        length, value_length, is_text = self.unpack("<HHH", start)
        end = start + length
        if length < 6 or end > limit:
            raise Malformed("version resource")
        place = start + 6
        key = bytearray()
        while self.data[place:place + 2] != b"\0\0":
            key += self.data[place:place + 2]
            place += 2
            if place >= end:
                raise Malformed("version resource")
        place = start + (place + 2 - start + 3 & ~3)
        value_size = value_length * (2 if is_text else 1)
        if is_text and value_length:
            text = self.data[place:place + value_size].decode("utf-16-le").split("\0")[0]
            strings[key.decode("utf-16-le")] = text
        place = start + (place + value_size - start + 3 & ~3)
        while place < end:
            child, = self.unpack("<H", place)
            self._version_block(place, end, strings)
            place += child + 3 & ~3
