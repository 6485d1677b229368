#!/usr/bin/env python3
"""Proves that each check of the repository can fail: breaks a small tree in one place at a time."""

import os
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts"))
import house_rules  # noqa: E402
import layering  # noqa: E402

ARCHITECTURE = """
<!-- levels: begin -->
| Component | Sources | Public headers | Other libraries | What |
|---|---|---|---|---|
| log | `src/log/*` | | boost | |
| low | `src/low/*` `src/high/Early.cpp` | `Low.h` | | |
| high | `src/high/*` | `High.h` | | |
| transports | `transports/*` | | curl | |
<!-- levels: end -->
<!-- downward: begin -->
| File | Includes from | Reason |
|---|---|---|
| `src/low/Low.cpp` | high | cut |
<!-- downward: end -->
"""

LEVELS = {
    "docs/architecture.md": ARCHITECTURE,
    "include/foundation/httpclient_core/Low.h": "#pragma once\n#include <string>\n",
    "include/foundation/httpclient_core/High.h":
        "#pragma once\n#include <foundation/httpclient_core/Low.h>\n",
    "src/log/Log.cpp": "#include <boost/log/core.hpp>\n",
    "src/low/Low.cpp":
        "#include <foundation/httpclient_core/Low.h>\n#include <foundation/httpclient_core/High.h>\n",
    "src/high/Early.cpp": "#include <foundation/httpclient_core/Low.h>\n",
    "src/high/Private.h": "#pragma once\n",
    "src/high/High.cpp": '#include "high/Private.h"\n#include <foundation/httpclient_core/Low.h>\n',
    "transports/curl/src/Engine.cpp":
        '#include "Engine.h"\n#include <curl/curl.h>\n#include <foundation/httpclient_core/High.h>\n',
    "transports/curl/src/Engine.h": "#pragma once\n",
}

HOUSE = {
    "include/foundation/httpclient_core/Thing.h":
        "#pragma once\n#include <string>\n/// Not a rule: using namespace, #define, <boost/x.hpp>.\n",
    "src/thing/Thing.cpp": "#include <foundation/httpclient_core/Thing.h>\n",
    "src/thing/Helper.h": "#pragma once\n",
    "src/thing/Helper.cpp": '#include "thing/Helper.h"\n#include <string>\n',
    "tests/thing/ThingTest.cpp": "TEST(ThingTest, Works) {}\n",
    "tools/program/main.cpp": "int main() {}\n",
    "README.md": "A path such as $HOME/work/x or https://h/work/x is no path of a machine.\n",
}


class CheckTest(unittest.TestCase):
    def findings(self, check, tree, changes):
        with tempfile.TemporaryDirectory() as root:
            for path, text in {**tree, **changes}.items():
                if text is None:
                    continue
                os.makedirs(os.path.join(root, os.path.dirname(path)), exist_ok=True)
                with open(os.path.join(root, path), "w", encoding="utf-8", newline="") as file:
                    file.write(text)
            return check(root)[0]

    def expect(self, check, tree, changes, expected):
        found = self.findings(check, tree, changes)
        self.assertEqual(len(found), 1, found)
        self.assertIn(expected, found[0])


class LayeringTest(CheckTest):
    def broken(self, changes, expected):
        self.expect(layering.check, LEVELS, changes, expected)

    def test_accepts_what_the_table_allows(self):
        self.assertEqual(self.findings(layering.check, LEVELS, {}), [])

    def test_include_from_a_higher_component(self):
        self.broken({"src/high/Early.cpp": "#include <foundation/httpclient_core/High.h>\n"},
                    "src/high/Early.cpp:1: low includes include/foundation/httpclient_core/High.h of high")

    def test_private_include_from_a_higher_component(self):
        self.broken({"src/log/Log.cpp": '\n#include "high/Private.h"\n'},
                    "src/log/Log.cpp:2: log includes src/high/Private.h of high")

    def test_header_never_includes_downward_even_if_its_source_may(self):
        self.broken({"src/low/Low.h": "#include <foundation/httpclient_core/High.h>\n"},
                    "src/low/Low.h:1: low includes")

    def test_listed_include_that_does_not_exist(self):
        self.broken({"src/low/Low.cpp": "#include <foundation/httpclient_core/Low.h>\n"},
                    "allows src/low/Low.cpp to include from high, which it does not")

    def test_source_without_a_row(self):
        self.broken({"src/other/Other.cpp": "\n"}, "src/other/Other.cpp:1: is in no row")

    def test_row_without_a_file(self):
        self.broken({"src/high/Early.cpp": None}, "names src/high/Early.cpp, which does not exist")

    def test_foreign_library_in_the_wrong_component(self):
        self.broken({"src/high/Early.cpp": "#include <boost/any.hpp>\n"}, "low includes boost")

    def test_transport_that_looks_inside_the_core(self):
        self.broken({"transports/curl/src/Engine.h": '#include "high/Private.h"\n'},
                    "transports/curl/src/Engine.h:1: src/high/Private.h is private to the core")

    def test_include_of_no_file(self):
        self.broken({"src/high/Early.cpp": "#include <foundation/httpclient_core/Gone.h>\n"},
                    "Gone.h is not a file of this repository")

    def test_cycle_within_a_component(self):
        self.broken({"src/high/Private.h": '#include "high/Other.h"\n',
                     "src/high/Other.h": '#include "high/Private.h"\n'}, "includes itself")

    def test_document_without_the_table(self):
        with self.assertRaises(layering.Malformed):
            self.findings(layering.check, LEVELS, {"docs/architecture.md": "text\n"})


class HouseRulesTest(CheckTest):
    def broken(self, changes, expected):
        self.expect(house_rules.check, HOUSE, changes, expected)

    def test_accepts_a_clean_tree(self):
        self.assertEqual(self.findings(house_rules.check, HOUSE, {}), [])

    def test_character_beyond_ascii(self):
        self.broken({"README.md": "one\ncaf\u00e9\n"}, "README.md:2: a character that is not ASCII")

    def test_carriage_return(self):
        self.broken({"README.md": "one\r\n"}, "README.md:1: a character that is not ASCII")

    def test_public_header_without_pragma_once(self):
        self.broken({"include/foundation/httpclient_core/Thing.h": "#include <string>\n"}, "#pragma once")

    def test_public_header_with_using_namespace(self):
        self.broken({"include/foundation/httpclient_core/Thing.h":
                     "#pragma once\nusing namespace std;\n"}, "Thing.h:2: 'using namespace'")

    def test_public_header_with_macro(self):
        self.broken({"include/foundation/httpclient_core/Thing.h":
                     "#pragma once\n#define THING 1\n"}, "Thing.h:2: a macro")

    def test_public_header_that_includes_boost(self):
        self.broken({"include/foundation/httpclient_core/Thing.h":
                     "#pragma once\n#include <boost/any.hpp>\n"}, "Thing.h:2: a public header includes boost")

    def test_public_header_that_includes_curl(self):
        self.broken({"include/foundation/httpclient_core/Thing.h":
                     "#pragma once\n#include <curl/curl.h>\n"}, "Thing.h:2: a public header includes curl")

    def test_public_header_that_includes_a_private_one(self):
        self.broken({"include/foundation/httpclient_core/Thing.h":
                     '#pragma once\n#include "thing/Helper.h"\n'}, "in quotes")

    def test_public_header_that_includes_detail(self):
        self.broken({"include/foundation/httpclient_core/Thing.h":
                     "#pragma once\n#include <foundation/httpclient_core/detail/X.h>\n"}, "detail/X.h")

    def test_header_of_a_transport_is_public_too(self):
        self.broken({"transports/t/include/foundation/t/Thing.h": "#pragma once\n#define X\n"}, "a macro")

    def test_public_header_without_test(self):
        self.broken({"tests/thing/ThingTest.cpp": None}, "Thing.h:1: has no test file ThingTest.cpp")

    def test_listed_exception_that_has_a_test(self):
        self.broken({"include/foundation/httpclient_core/Fwd.h": "#pragma once\n",
                     "tests/FwdTest.cpp": "\n"}, "is listed as untested")

    def test_open_end(self):
        self.broken({"src/thing/Helper.h": "#pragma once\n// TO" "DO: later\n"}, "Helper.h:2: 'TO" "DO'")

    def test_reference_instead_of_explanation(self):
        self.broken({"src/thing/Helper.h": "#pragma once\n// As Part" " 3.2 has it.\n"}, "'Part" " 3.2'")

    def test_label_instead_of_explanation(self):
        self.broken({"src/thing/Helper.h": "#pragma once\n// See" " B12.\n"}, "'See" " B12'")

    def test_path_of_one_machine(self):
        self.broken({"README.md": "cd " "/home" "/me/project\n"}, "a path of one machine")

    def test_source_that_includes_another_header_first(self):
        self.broken({"src/thing/Helper.cpp": '#include <string>\n#include "thing/Helper.h"\n'},
                    "Helper.cpp:1: includes string first")

    def test_source_without_header(self):
        self.broken({"src/thing/Alone.cpp": "#include <string>\n"}, "has no header Alone.h")

    def test_skipped_test(self):
        self.broken({"tests/thing/ThingTest.cpp": "GTEST_" "SKIP();\n"}, "hides what is not tested")

    def test_disabled_test(self):
        self.broken({"tests/thing/ThingTest.cpp": "TEST(ThingTest, DIS" "ABLED_Works)\n"},
                    "hides what is not tested")

    def test_lint_exception_without_check(self):
        self.broken({"src/thing/Helper.h": "#pragma once\nint x;  // NO" "LINT: because\n"},
                    "does not name its check")

    def test_lint_exception_without_reason(self):
        self.broken({"src/thing/Helper.h": "#pragma once\nint x;  // NO" "LINT(misc-x)\n"},
                    "without a reason")

    def test_lint_exception_with_check_and_reason(self):
        self.assertEqual(self.findings(house_rules.check, HOUSE, {
            "src/thing/Helper.h": "#pragma once\nint x;  // NO" "LINT(misc-x): the interface is given\n"}), [])


if __name__ == "__main__":
    unittest.main()
