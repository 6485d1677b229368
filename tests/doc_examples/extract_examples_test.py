#!/usr/bin/env python3
"""Tests of extract_examples.py on small made-up headers and pages."""
import pathlib
import tempfile
import unittest

import extract_examples as extract


class ExtractExamplesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def file(self, name, *lines):
        path = self.folder / name
        path.write_text("\n".join(lines) + "\n", encoding="ascii")
        return path

    def test_block_of_a_header_becomes_a_test_that_names_its_place(self):
        header = self.file("URL.h", "#pragma once", "/// A class.", "/// @par Example",
                           "/// @code{.cpp}", "/// #include <list>", "/// assert(true);",
                           "///     assert(!false);", "/// @endcode", "class URL;")
        blocks = extract.header_blocks(header)
        self.assertEqual(1, len(blocks))
        self.assertEqual(5, blocks[0].line)
        text = extract.as_functions(header, blocks, "P.h", ["foundation/URL.h"])
        self.assertIn(f'void URLDocExampleBlock1() {{\n#line 5 "{header}"\n\nassert(true);\n'
                      "    assert(!false);\n}\n", text)
        self.assertIn("TEST(URLDocExample, Block1)", text)
        self.assertLess(text.index("#undef NDEBUG"), text.index('#include "P.h"'))
        self.assertLess(text.index('#include "P.h"'), text.index("#include <foundation/URL.h>"))
        self.assertLess(text.index("#include <list>"), text.index("void URLDocExampleBlock1"))
        self.assertEqual(1, text.count("#include <list>"))

    def test_header_without_blocks_gives_a_file_without_tests(self):
        header = self.file("Fwd.h", "/// Plain text.", "class URL;")
        self.assertNotIn("TEST(", extract.as_functions(header, extract.header_blocks(header), "P.h"))

    def test_blocks_of_indented_members_lose_their_indentation(self):
        header = self.file("A.h", "    /// @code{.cpp}", "    /// f();", "    /// @endcode",
                           "    /// @code{.cpp}", "    ///", "    ///   g();", "    /// @endcode")
        self.assertEqual([["f();"], ["", "  g();"]],
                         [block.text for block in extract.header_blocks(header)])

    def test_block_that_would_be_missed_is_an_error(self):
        for lines in (["/// @code{.cpp}", "/// f();"],
                      ["/// @code{.cpp}", "/// f();", "class A;", "/// @endcode"],
                      ["/// @code", "/// f();", "/// @endcode"],
                      ["/// \\code{.cpp}", "/// f();", "/// @endcode"],
                      ["/// @code{.cpp} f();", "/// @endcode"],
                      ["/// @code{.cpp}", "/// f(); @endcode"],
                      ["/// @code{.cpp}", "/// @code{.cpp}", "/// f();", "/// @endcode"],
                      ["// @code{.cpp}", "// f();", "// @endcode"],
                      ["/// @code{.cpp}", "/// @endcode"],
                      ["/// @endcode"]):
            with self.subTest(lines=lines), self.assertRaises(extract.ExampleError):
                extract.header_blocks(self.file("A.h", *lines))

    def test_page_blocks_follow_their_marks(self):
        page = self.file("README.md", "```cpp", "body();", "```", "```sh", "make", "```",
                         "<!-- not compiled: a sketch -->", "```cpp", "...", "```",
                         "<!-- example: program -->", "```cpp", "int main() {}", "```",
                         "<!-- example: program, not run: needs a network -->", "```cpp",
                         "int main() {}", "```")
        blocks = extract.readme_blocks(page)
        self.assertEqual([("body", True, 2), ("program", True, 13), ("program", False, 17)],
                         [(block.kind, block.run, block.line) for block in blocks])
        text = extract.as_functions(page, blocks, "P.h")
        self.assertIn("TEST(ReadmeDocExample, Block1)", text)
        self.assertNotIn("int main", text)
        self.assertEqual(["readme_program_1", "readme_program_2"],
                         [name for name, _ in extract.programs(page)])
        self.assertIn(f'#line 13 "{page}"\nint main() {{}}\n', extract.as_program(page, blocks[1]))

    def test_page_with_an_unknown_mark_or_an_open_block_is_an_error(self):
        for lines in (["<!-- not compiled: -->", "```cpp", "f();", "```"],
                      ["<!-- example: programme -->", "```cpp", "f();", "```"],
                      ["```cpp", "f();"]):
            with self.subTest(lines=lines), self.assertRaises(extract.ExampleError):
                extract.readme_blocks(self.file("README.md", *lines))

    def test_mark_applies_to_the_next_line_only(self):
        page = self.file("README.md", "<!-- not compiled: a sketch -->", "Text.", "```cpp", "f();",
                         "```")
        self.assertEqual(1, len(extract.readme_blocks(page)))

    def test_suite_names_have_no_underscore(self):
        for name, suite in (("HttpHeaders.h", "HttpHeadersDocExample"), ("URL.h", "URLDocExample"),
                            ("basic_diagnostic_logger.h", "BasicDiagnosticLoggerDocExample"),
                            ("README.md", "ReadmeDocExample")):
            self.assertEqual(suite, extract.suite_name(pathlib.Path(name)))

    def test_check_reports_a_header_without_example_and_an_exemption_out_of_use(self):
        self.file("Bare.h", "class Bare;")
        self.file("Shown.h", "/// @code{.cpp}", "/// f();", "/// @endcode")
        self.file("Plain.h", "struct Plain;")
        self.assertEqual([f"{self.folder / 'Bare.h'}: no @code{{.cpp}} example"],
                         extract.coverage_faults(self.folder, {"Plain.h": "a record"}))
        faults = extract.coverage_faults(
            self.folder, {"Bare.h": "x", "Plain.h": "x", "Shown.h": "x", "Gone.h": "x"})
        self.assertEqual(2, len(faults))
        self.assertIn("Shown.h: has examples", faults[0])
        self.assertIn("Gone.h: exempt, but there is no such header", faults[1])

    def test_exemption_needs_a_reason(self):
        with self.assertRaises(extract.ExampleError):
            extract.read_exemptions(self.file("exempt.txt", "Fwd.h:"))
        self.assertEqual({"Fwd.h": "declares names"},
                         extract.read_exemptions(self.file("exempt.txt", "# c", "",
                                                           "Fwd.h: declares names")))


if __name__ == "__main__":
    unittest.main()
