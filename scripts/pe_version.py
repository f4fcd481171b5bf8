#!/usr/bin/env python3
"""Reads the version resource of Windows binaries, as GetFileVersionInfoA
and VerQueryValueA would: the fixed numbers (VS_FIXEDFILEINFO) and the
strings of the first string table.

  pe_version.py FILE...                  print each file's version resource
  pe_version.py --expect VERSION FILE... also check that FileVersion,
        ProductVersion and both fixed numbers are VERSION (the fixed ones
        padded with .0 to four parts), that OriginalFilename is the file's
        own name and that ProductName and FileDescription are given; exit 1
        with what differs otherwise

Reads the PE file directly (only the standard library), so it runs where the
binaries are built, without Windows.
"""
import os
import struct
import sys

RT_VERSION = 16
RESOURCE_DIRECTORY = 2          # index of the resource table among the data directories
FIXED_SIGNATURE = 0xFEEF04BD    # VS_FIXEDFILEINFO.dwSignature
STRINGS = ("FileDescription", "FileVersion", "InternalName", "OriginalFilename",
           "ProductName", "ProductVersion")


class NotVersioned(Exception):
    pass


def u16(data, off):
    return struct.unpack_from("<H", data, off)[0]


def u32(data, off):
    return struct.unpack_from("<I", data, off)[0]


def sections(data):
    """The data directory of resources (RVA, size) and the section table."""
    if data[:2] != b"MZ":
        raise NotVersioned("not a PE file")
    pe = u32(data, 0x3C)
    if data[pe:pe + 4] != b"PE\0\0":
        raise NotVersioned("not a PE file")
    count, optional_size = u16(data, pe + 6), u16(data, pe + 20)
    optional = pe + 24
    magic = u16(data, optional)
    directories = optional + (96 if magic == 0x10B else 112)   # PE32 or PE32+
    if u32(data, directories - 4) <= RESOURCE_DIRECTORY:
        raise NotVersioned("no resource table")
    rva, size = struct.unpack_from("<II", data, directories + 8 * RESOURCE_DIRECTORY)
    table = []
    for i in range(count):
        s = optional + optional_size + 40 * i
        vsize, vaddr, raw_size, raw = struct.unpack_from("<IIII", data, s + 8)
        table.append((vaddr, max(vsize, raw_size), raw))
    return rva, size, table


def file_offset(table, rva):
    for vaddr, size, raw in table:
        if vaddr <= rva < vaddr + size:
            return raw + rva - vaddr
    raise NotVersioned("address 0x%x lies in no section" % rva)


def first_entry(data, base, directory, wanted=None):
    """The offset (from base) an entry of a resource directory points to:
    the entry with the id wanted, or the first one."""
    named, ids = u16(data, directory + 12), u16(data, directory + 14)
    for i in range(named + ids):
        name, target = struct.unpack_from("<II", data, directory + 16 + 8 * i)
        if wanted is None or (not name & 0x80000000 and name == wanted):
            return target
    raise NotVersioned("no version resource")


def version_block(data):
    """The bytes of the VS_VERSIONINFO resource."""
    rva, size, table = sections(data)
    if not rva or not size:
        raise NotVersioned("no resource table")
    base = file_offset(table, rva)
    target = first_entry(data, base, base, RT_VERSION)    # type
    for _ in range(2):                                    # name, then language
        if not target & 0x80000000:
            raise NotVersioned("malformed resource directory")
        target = first_entry(data, base, base + (target & 0x7FFFFFFF))
    entry_rva, entry_size = struct.unpack_from("<II", data, base + target)
    start = file_offset(table, entry_rva)
    return data[start:start + entry_size]


def align4(off):
    return (off + 3) & ~3


def parse_block(data, off):
    """One node of the version tree: (key, value, children, end). A text
    value is a str without its terminating NULs; a binary one bytes."""
    length, value_length, kind = struct.unpack_from("<HHH", data, off)
    end = off + length
    key_end = off + 6
    while data[key_end:key_end + 2] != b"\0\0":
        key_end += 2
    key = data[off + 6:key_end].decode("utf-16-le")
    value_off = align4(key_end + 2)
    if kind == 1:
        raw = data[value_off:value_off + 2 * value_length]
        value = raw.decode("utf-16-le").rstrip("\0")
        value_end = value_off + 2 * value_length
    else:
        value = data[value_off:value_off + value_length]
        value_end = value_off + value_length
    children = []
    child = align4(value_end)
    while child < end:
        node = parse_block(data, child)
        children.append(node)
        child = align4(node[3])
    return key, value, children, end


def dotted(high, low):
    return "%d.%d.%d.%d" % (high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF)


def read_version(path):
    """A dict of the version resource's strings, with the fixed numbers as
    "fixed FileVersion" and "fixed ProductVersion"."""
    with open(path, "rb") as f:
        data = f.read()
    key, fixed, children, _ = parse_block(version_block(data), 0)
    if key != "VS_VERSION_INFO" or len(fixed) < 52 or u32(fixed, 0) != FIXED_SIGNATURE:
        raise NotVersioned("malformed VS_VERSION_INFO")
    info = {
        "fixed FileVersion": dotted(u32(fixed, 8), u32(fixed, 12)),
        "fixed ProductVersion": dotted(u32(fixed, 16), u32(fixed, 20)),
    }
    for name, _, tables, _ in children:
        if name == "StringFileInfo" and tables:
            for string_key, string_value, _, _ in tables[0][2]:
                info[string_key] = string_value
    return info


def problems(path, info, version):
    """What in info disagrees with the version expected, one text a fault."""
    four = ".".join((version.split(".") + ["0"] * 4)[:4])
    wanted = {"FileVersion": version, "ProductVersion": version,
              "fixed FileVersion": four, "fixed ProductVersion": four}
    found = []
    for key, value in wanted.items():
        if info.get(key) != value:
            found.append("%s is %r, not %r" % (key, info.get(key), value))
    name = os.path.basename(path)
    if info.get("OriginalFilename", "").lower() != name.lower():
        found.append("OriginalFilename is %r, not %r" % (info.get("OriginalFilename"), name))
    for key in ("ProductName", "FileDescription"):
        if not info.get(key):
            found.append("%s is missing" % key)
    return found


def main(argv):
    version = None
    if len(argv) >= 2 and argv[0] == "--expect":
        version, argv = argv[1], argv[2:]
    if not argv:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    failed = False
    for path in argv:
        try:
            info = read_version(path)
        except (NotVersioned, struct.error, UnicodeDecodeError) as e:
            print("%s: %s" % (path, e))
            failed = True
            continue
        if version is None:
            print("%s:" % path)
            for key in sorted(info):
                print("  %-21s %s" % (key, info[key]))
            continue
        faults = problems(path, info, version)
        for fault in faults:
            print("%s: %s" % (path, fault))
        if not faults:
            print("%s: %s, %s, \"%s\"" % (os.path.basename(path), info["FileVersion"],
                                          info["ProductName"], info["FileDescription"]))
        failed = failed or bool(faults)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
