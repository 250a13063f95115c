"""The packaging steps of scripts/make-dist that need more than a command: reproducible zip files, and what wixl
cannot express in the MSI."""

import struct
import subprocess
import time
import xml.etree.ElementTree as ElementTree
import zipfile
from pathlib import Path

# The files the MSI installs, as named in release/LVBHOHost.wxs.
MSI_FILES = ("LVBHOHost.exe", "LVUI.dll", "LvRegDoctor.exe", "LvLogDecode.exe")
# What `LVBHOHost.exe -RegisterNativeApp` writes into its working folder; removed with the product.
HOST_MANIFESTS = ("com.google.chrome.lvbhohost-win.json", "com.mozilla.firefox.lvbhohost-win.json")
# Custom action types: 18 runs an installed file, 34 an exe in a folder that is also its working folder.
_TYPE_FILE_EXE, _TYPE_DIRECTORY_EXE = 18, 34
# The execution bits of a custom action's type, by the WiX Execute attribute (in-script, plus rollback or commit).
_EXECUTION = {"immediate": 0, "deferred": 0x400, "rollback": 0x500, "commit": 0x600}
_EXECUTION_MASK = 0x700
_WIX = "{http://schemas.microsoft.com/wix/2006/wi}"


def declared_execution(wxs):
    """{custom action id: its Execute attribute} from a WiX source."""
    root = ElementTree.parse(wxs).getroot()
    return {action.get("Id"): action.get("Execute", "immediate") for action in root.iter(_WIX + "CustomAction")}


def zip_time(epoch):
    """The zip time of `epoch` (UTC); zip cannot say anything before 1980."""
    return time.gmtime(max(epoch, 315532800))[:6]


def write_zip(path, entries, epoch):
    """A zip whose bytes depend only on `entries` ({name: bytes}) and `epoch`: sorted names, one fixed time, fixed
    attributes, no extra fields."""
    with zipfile.ZipFile(path, "w") as archive:
        for name in sorted(entries):
            info = zipfile.ZipInfo(name, date_time=zip_time(epoch))
            info.compress_type = zipfile.ZIP_DEFLATED
            info.create_system = 3  # Unix, so that the attributes below are read as a mode
            info.external_attr = (0o100755 if name.lower().endswith((".exe", ".dll")) else 0o100644) << 16
            archive.writestr(info, entries[name], compresslevel=9)


def _msi(*args):
    result = subprocess.run([str(a) for a in args], capture_output=True, text=True)
    if result.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, args))} exited {result.returncode}: {result.stderr}")
    return result.stdout


def msi_rows(msi, table):
    """The rows of `table` as dicts (msiinfo export: names, types, table name, then the rows)."""
    lines = _msi("msiinfo", "export", msi, table).splitlines()
    names = lines[0].split("\t")
    return [dict(zip(names, line.split("\t"))) for line in lines[3:] if line]


def _quote(text):
    if "'" in text:
        raise ValueError(f"no quote can stand in an MSI query: {text}")
    return f"'{text}'"


def fix_msi(msi, wxs, package_code, epoch):
    """Adds to a package built by wixl from `wxs` what its WiX source cannot say through wixl:
    - the registration actions become folder actions: "[INSTALLDIR]LVBHOHost.exe" runs with the install folder
      as its working folder, where -RegisterNativeApp writes the manifests;
    - every custom action runs as the source's Execute says (wixl knows "deferred" but makes a "rollback" action
      an immediate one);
    - the manifests go with the product (RemoveFile, on removal);
    - a major upgrade removes the older version before anything is installed, so that its removal (which
      unregisters) cannot undo the new version's registrations;
    - the properties given on the command line reach the installer's service (SecureCustomProperties);
    - the package code and the times in the summary are the release's, not the build's."""
    queries = []
    execution = declared_execution(wxs)
    for row in msi_rows(msi, "CustomAction"):
        kind = (int(row["Type"]) & ~_EXECUTION_MASK) | _EXECUTION[execution[row["Action"]]]
        source, target = row["Source"], row["Target"]
        if source == "LVBHOHost.exe" and kind & 0x3F == _TYPE_FILE_EXE:
            kind += _TYPE_DIRECTORY_EXE - _TYPE_FILE_EXE
            source, target = "INSTALLDIR", '"[INSTALLDIR]LVBHOHost.exe" ' + target
        if (kind, source, target) != (int(row["Type"]), row["Source"], row["Target"]):
            queries.append(f"UPDATE CustomAction SET Type={kind}, Source={_quote(source)}, Target={_quote(target)} "
                           f"WHERE Action={_quote(row['Action'])}")
    for index, name in enumerate(HOST_MANIFESTS):
        queries.append("INSERT INTO RemoveFile (FileKey, Component_, FileName, DirProperty, InstallMode) "
                       f"VALUES ('HostManifest{index}', 'Host', {_quote(name)}, 'INSTALLDIR', 2)")
    sequence = {row["Action"]: int(row["Sequence"]) for row in msi_rows(msi, "InstallExecuteSequence")}
    queries.append("UPDATE InstallExecuteSequence SET Sequence="
                   f"{(sequence['InstallValidate'] + sequence['InstallInitialize']) // 2} "
                   "WHERE Action='RemoveExistingProducts'")
    secure = next(row["Value"] for row in msi_rows(msi, "Property") if row["Property"] == "SecureCustomProperties")
    queries.append(f"UPDATE Property SET Value={_quote(secure + ';CHROMEPOLICY;INSTALLDIR;LUMIVARDIR')} "
                   "WHERE Property='SecureCustomProperties'")
    for query in queries:
        _msi("msibuild", msi, "-q", query)
    summary = _msi("msiinfo", "suminfo", msi)
    subject = next(line.split(": ", 1)[1] for line in summary.splitlines() if line.startswith("Subject: "))
    _msi("msibuild", msi, "-s", subject, "Kavrin", "x64;1033", "{" + str(package_code).upper() + "}")
    normalize_times(Path(msi), epoch)


# ---------------------------------------------------------------- the times in the compound file

_FILETIME_1601 = 11644473600  # seconds from 1601 to 1970
_ENDOFCHAIN = 0xFFFFFFFE


def _filetime(epoch):
    return (epoch + _FILETIME_1601) * 10_000_000


class _CompoundFile:
    """Just enough of the compound file format (an MSI's container) to find its directory and its summary
    stream, and to overwrite bytes in place."""

    def __init__(self, data):
        self.data = data
        if data[:8] != bytes.fromhex("D0CF11E0A1B11AE1"):
            raise ValueError("not a compound file")
        self.sector = 1 << struct.unpack_from("<H", data, 30)[0]
        self.mini_sector = 1 << struct.unpack_from("<H", data, 32)[0]
        self.mini_cutoff = struct.unpack_from("<I", data, 56)[0]
        fat_count, self.first_dir = struct.unpack_from("<II", data, 44)
        first_minifat, minifat_count = struct.unpack_from("<II", data, 60)
        difat = list(struct.unpack_from("<109I", data, 76))[:fat_count]
        if fat_count > 109:
            # Beyond 109 FAT sectors (about 7 MB with 512-byte sectors) the FAT continues in DIFAT sectors.
            raise ValueError(f"the MSI has {fat_count} FAT sectors; this reader follows no DIFAT chain")
        self.fat = []
        for sector in difat:
            self.fat += struct.unpack_from(f"<{self.sector // 4}I", data, self._offset(sector))
        self.minifat = []
        for sector in self.chain(first_minifat) if minifat_count else []:
            self.minifat += struct.unpack_from(f"<{self.sector // 4}I", data, self._offset(sector))
        self.root_chain = None

    def _offset(self, sector):
        return (sector + 1) * self.sector

    def chain(self, start, table=None):
        table = self.fat if table is None else table
        out, sector = [], start
        while sector < len(table) and sector != _ENDOFCHAIN and len(out) <= len(table):
            out.append(sector)
            sector = table[sector]
        return out

    def entries(self):
        """(offset of the entry, name, type, start sector, size) for each directory entry."""
        for sector in self.chain(self.first_dir):
            base = self._offset(sector)
            for index in range(self.sector // 128):
                offset = base + index * 128
                length = struct.unpack_from("<H", self.data, offset + 64)[0]
                name = self.data[offset:offset + max(length - 2, 0)].decode("utf-16-le", "replace")
                kind = self.data[offset + 66]
                start, size = struct.unpack_from("<II", self.data, offset + 116)  # version 3: 32-bit sizes
                yield offset, name, kind, start, size

    def stream_offsets(self, start, size):
        """The file offsets of a stream's bytes, in order."""
        if size >= self.mini_cutoff:
            return [self._offset(s) + i for s in self.chain(start) for i in range(self.sector)][:size]
        root = next(e for e in self.entries() if e[2] == 5)
        container = [self._offset(s) + i for s in self.chain(root[3]) for i in range(self.sector)]
        return [container[s * self.mini_sector + i] for s in self.chain(start, self.minifat)
                for i in range(self.mini_sector)][:size]


def normalize_times(msi, epoch):
    """Sets every time that wixl and msibuild wrote (the directory entries' creation and change times, the
    summary's creation and save times) to `epoch`."""
    data = bytearray(msi.read_bytes())
    cfb = _CompoundFile(data)
    stamp = struct.pack("<Q", _filetime(epoch))
    for offset, name, kind, start, size in list(cfb.entries()):
        if kind == 0:
            continue
        for field in (100, 108):
            if data[offset + field:offset + field + 8] != bytes(8):
                data[offset + field:offset + field + 8] = stamp
        if name == "\x05SummaryInformation":
            where = cfb.stream_offsets(start, size)
            stream = bytes(data[i] for i in where)
            for position, value in zip(where, _summary_with_times(stream, stamp)):
                data[position] = value
    msi.write_bytes(bytes(data))


def _summary_with_times(stream, stamp):
    """The summary stream with its creation and last-save times (properties 12 and 13, FILETIME) set to `stamp`."""
    out = bytearray(stream)
    section = struct.unpack_from("<I", stream, 44)[0]
    count = struct.unpack_from("<I", stream, section + 4)[0]
    for index in range(count):
        pid, where = struct.unpack_from("<II", stream, section + 8 + index * 8)
        value = section + where
        if pid in (12, 13) and struct.unpack_from("<I", stream, value)[0] == 64:  # VT_FILETIME
            out[value + 4:value + 12] = stamp
    return bytes(out)
