#!/usr/bin/env python3
"""LVUI.dll's catalogues against each other and against the UI-language table behind "GetLang".

Every language "GetLang" can name has a catalogue (lvui/lang/<Name>.rc), included in lvui/LvUiStrings.rc and in the
table of lvui/Catalogue.cpp; every catalogue has every string of StringIds.h exactly once, none empty, with the same
placeholders as English, the product name "Lumivar" untranslated wherever English has it, no accelerator "&", and a
LANGUAGE statement of its own."""

import re
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts" / "lib"))
import prompt_texts  # noqa: E402


def getlang_names():
    """Every name UiLanguageName can answer, from its source."""
    source = (ROOT / "commands" / "UiLanguage.cpp").read_text(encoding="utf-8")
    return sorted(set(re.findall(r'return "(\w+)"', source)) | set(re.findall(r'\? "(\w+)" : "(\w+)"', source)[0]))


class CatalogueTest(unittest.TestCase):
    def test_every_language_getlang_names_has_a_catalogue_and_no_other(self):
        self.assertEqual(34, len(getlang_names()))
        self.assertEqual(getlang_names(), prompt_texts.catalogue_names())

    def test_the_resource_script_and_the_language_table_take_every_catalogue(self):
        script = (ROOT / "lvui" / "LvUiStrings.rc").read_text(encoding="utf-8")
        table = (ROOT / "lvui" / "Catalogue.cpp").read_text(encoding="utf-8")
        for name in prompt_texts.catalogue_names():
            self.assertIn(f'#include "lang/{name}.rc"', script, name)
            self.assertIn(f'{{"{name}", MAKELANGID(', table, name)

    def test_each_catalogue_has_its_own_language(self):
        seen = {}
        for name in prompt_texts.catalogue_names():
            language, _ = prompt_texts.read_catalogue(name)
            self.assertIsNotNone(language, name)
            self.assertNotIn(language, seen, f"{name} and {seen.get(language)}")
            seen[language] = name
            self.assertIn(f'{{"{name}", MAKELANGID({language[0]}, {language[1]})', (ROOT / "lvui" / "Catalogue.cpp").read_text(),
                          name)

    def test_every_catalogue_has_every_string_once_and_nothing_else(self):
        expected = list(prompt_texts.string_ids())
        for name in prompt_texts.catalogue_names():
            ids = [entry[0] for entry in prompt_texts.read_catalogue(name)[1]]
            self.assertEqual(sorted(expected), sorted(ids), name)
            self.assertEqual(len(ids), len(set(ids)), name)

    def test_texts_keep_the_placeholders_and_the_product_name(self):
        english = prompt_texts.texts("English")
        self.assertEqual(["%1"], prompt_texts.PLACEHOLDER.findall(english["IDS_STATUS_CODE"]))
        for name in prompt_texts.catalogue_names():
            for key, text in prompt_texts.texts(name).items():
                where = f"{name} {key}: {text!r}"
                self.assertTrue(text.strip(), where)
                self.assertNotIn("&", text, where)
                self.assertEqual(sorted(prompt_texts.PLACEHOLDER.findall(english[key])),
                                 sorted(prompt_texts.PLACEHOLDER.findall(text)), where)
                self.assertEqual("Lumivar" in english[key], "Lumivar" in text, where)

    def test_translations_are_translations(self):
        english = prompt_texts.texts("English")
        for name in prompt_texts.catalogue_names():
            if name == "English":
                continue
            titles = [key for key in english if key.endswith("_TITLE")]
            same = [key for key in titles if prompt_texts.texts(name)[key] == english[key]]
            self.assertEqual([], same, name)


if __name__ == "__main__":
    unittest.main()
