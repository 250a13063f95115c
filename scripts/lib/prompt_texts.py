"""The prompt's texts as LVUI.dll's catalogues (lvui/lang/<Language>.rc) hold them, read from the sources.

Shared by the catalogue check (tests/lvui/check_catalogue.py) and the black-box test of the prompt's languages."""

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LANG_DIR = ROOT / "lvui" / "lang"

_DEFINE = re.compile(r"^#define\s+(IDS_\w+)\s+(\d+)\s*$")
_ENTRY = re.compile(r'^\s*(IDS_\w+)\s+"((?:[^"]|"")*)"\s*$')
_LANGUAGE = re.compile(r"^\s*LANGUAGE\s+(\w+)\s*,\s*(\w+)\s*$")
PLACEHOLDER = re.compile(r"%\d|%[sdu]")


def string_ids():
    """IDS_* name -> number, from StringIds.h, without the IDS_FIRST/IDS_END bounds."""
    ids = {}
    for line in (LANG_DIR / "StringIds.h").read_text(encoding="utf-8").splitlines():
        match = _DEFINE.match(line)
        if match and match.group(1) not in ("IDS_FIRST", "IDS_END"):
            ids[match.group(1)] = int(match.group(2))
    return ids


def read_catalogue(name):
    """(LANGUAGE statement as a pair, list of (IDS_ name, text)) of lvui/lang/<name>.rc, in file order."""
    language = None
    entries = []
    inside = False
    for line in (LANG_DIR / f"{name}.rc").read_text(encoding="utf-8").splitlines():
        match = _LANGUAGE.match(line)
        if match:
            language = (match.group(1), match.group(2))
        if line.strip() == "BEGIN":
            inside = True
        elif line.strip() == "END":
            inside = False
        elif inside and line.strip():
            entry = _ENTRY.match(line)
            if not entry:
                raise ValueError(f"{name}.rc: not a string entry: {line!r}")
            entries.append((entry.group(1), entry.group(2).replace('""', '"')))
    return language, entries


def texts(name):
    """IDS_ name -> text of one catalogue."""
    return dict(read_catalogue(name)[1])


def catalogue_names():
    return sorted(path.stem for path in LANG_DIR.glob("*.rc"))
