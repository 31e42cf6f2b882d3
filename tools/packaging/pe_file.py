"""Reads what packaging checks in a 64-bit Windows DLL: its sections, the DLLs it imports and
the version in its version resource. Standard library only; a file that is not a well-formed
PE32+ image raises PeError."""

import struct

FIXED_FILE_INFO_SIGNATURE = 0xFEEF04BD
IMPORT_DIRECTORY = 1
RESOURCE_DIRECTORY = 2
PE32_PLUS = 0x20B


class PeError(ValueError):
    pass


class PeFile:
    def __init__(self, path):
        with open(path, "rb") as handle:
            self.data = handle.read()
        self.path = path
        self._read_headers()

    # -- headers -------------------------------------------------------------------------------

    def _unpack(self, fmt, offset):
        size = struct.calcsize(fmt)
        if offset < 0 or offset + size > len(self.data):
            raise PeError("%s: truncated at offset %d" % (self.path, offset))
        return struct.unpack_from(fmt, self.data, offset)

    def _read_headers(self):
        if self.data[:2] != b"MZ":
            raise PeError("%s is not a Windows executable" % self.path)
        (pe_offset,) = self._unpack("<I", 0x3C)
        if self._unpack("4s", pe_offset)[0] != b"PE\0\0":
            raise PeError("%s is not a Windows executable" % self.path)
        coff = pe_offset + 4
        (_, section_count, _, symbols, symbol_count, optional_size, _) = self._unpack(
            "<HHIIIHH", coff)
        optional = coff + 20
        (magic,) = self._unpack("<H", optional)
        if magic != PE32_PLUS:
            raise PeError("%s is not a 64-bit image" % self.path)
        (directory_count,) = self._unpack("<I", optional + 108)
        self.directories = [self._unpack("<II", optional + 112 + 8 * i)
                            for i in range(min(directory_count, 16))]
        strings = symbols + 18 * symbol_count
        self.sections = []
        for i in range(section_count):
            raw_name, virtual_size, address, raw_size, raw_offset = self._unpack(
                "<8sIIII", optional + optional_size + 40 * i)
            self.sections.append((self._section_name(raw_name, symbols, strings), virtual_size,
                                  address, raw_size, raw_offset))

    def _section_name(self, raw_name, symbols, strings):
        name = raw_name.rstrip(b"\0").decode("ascii", "replace")
        # Names longer than eight characters live in the string table after the symbols.
        if name.startswith("/") and name[1:].isdigit() and symbols:
            start = strings + int(name[1:])
            end = self.data.find(b"\0", start)
            if start < len(self.data) and end > start:
                return self.data[start:end].decode("ascii", "replace")
        return name

    def _offset(self, rva):
        for _, virtual_size, address, raw_size, raw_offset in self.sections:
            if address <= rva < address + max(virtual_size, raw_size):
                return raw_offset + rva - address
        raise PeError("%s: address %#x is in no section" % (self.path, rva))

    def _string(self, rva):
        start = self._offset(rva)
        end = self.data.find(b"\0", start)
        if end < 0:
            raise PeError("%s: unterminated name at %#x" % (self.path, rva))
        return self.data[start:end].decode("ascii", "replace")

    # -- what packaging asks -------------------------------------------------------------------

    def section_names(self):
        return [section[0] for section in self.sections]

    def imports(self):
        """The names of the imported DLLs, in the order of the import directory."""
        rva, _ = self.directories[IMPORT_DIRECTORY]
        names = []
        if rva == 0:
            return names
        offset = self._offset(rva)
        while True:
            descriptor = self._unpack("<IIIII", offset)
            if descriptor == (0, 0, 0, 0, 0):
                return names
            names.append(self._string(descriptor[3]))
            offset += 20

    def versions(self):
        """(file version, product version) of the version resource, as "a.b.c.d" texts."""
        rva, size = self.directories[RESOURCE_DIRECTORY]
        if rva == 0:
            raise PeError("%s has no resources" % self.path)
        start = self._offset(rva)
        signature = struct.pack("<I", FIXED_FILE_INFO_SIGNATURE)
        found = self.data.find(signature, start, start + size)
        if found < 0:
            raise PeError("%s has no version resource" % self.path)
        _, _, file_ms, file_ls, product_ms, product_ls = self._unpack("<IIIIII", found)

        def text(ms, ls):
            return "%d.%d.%d.%d" % (ms >> 16, ms & 0xFFFF, ls >> 16, ls & 0xFFFF)

        return text(file_ms, file_ls), text(product_ms, product_ls)
