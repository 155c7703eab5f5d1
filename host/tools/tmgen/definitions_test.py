"""A malformed definition stops the generator with a message that names the file and the entry."""

import sys
import tempfile
import textwrap
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))

import definitions  # noqa: E402
import tmgen  # noqa: E402

USED_SET = """
set = "base"
namespace = "base_bll"

[[enum]]
name = "Level"
values = [["LOW", 1], ["HIGH", 2]]

[[record]]
name = "Head"
fields = [{ name = "handle", type = "uint32" }]
"""


class MalformedDefinitions(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.root = Path(self.folder.name)
        (self.root / "base.toml").write_text(USED_SET)

    def tearDown(self):
        self.folder.cleanup()

    def load(self, text: str) -> definitions.MessageSet:
        path = self.root / "demo.toml"
        path.write_text('set = "demo"\nnamespace = "demo_bll"\nuses = ["base"]\n'
                        + textwrap.dedent(text))
        return definitions.load(path)

    def assert_refused(self, text: str, *expected: str) -> None:
        with self.assertRaises(definitions.DefinitionError) as caught:
            self.load(text)
        message = str(caught.exception)
        self.assertIn("demo.toml", message)
        for part in expected:
            self.assertIn(part, message)

    def test_an_unknown_type_names_the_field(self):
        self.assert_refused("""
            [[record]]
            name = "Disk"
            fields = [{ name = "Size", type = "uint128" }]
            """, "record 'Disk', field 'Size'", "unknown type 'uint128'")

    def test_an_unknown_record_of_a_used_set_names_the_set(self):
        self.assert_refused("""
            [[message]]
            name = "Ping"
            request = [{ name = "head", type = "base.Heading" }]
            status = false
            """, "message 'Ping', request 'head'", "set 'base' has no record or enum 'Heading'")

    def test_a_set_not_in_uses_is_unknown(self):
        self.assert_refused("""
            [[record]]
            name = "Disk"
            fields = [{ name = "head", type = "other.Head" }]
            """, "field 'head'", "unknown set 'other'")

    def test_duplicate_names_are_refused(self):
        self.assert_refused("""
            [[record]]
            name = "Disk"
            fields = [{ name = "Size", type = "uint64" }]

            [[enum]]
            name = "Disk"
            values = [["A", 0]]
            """, "record 'Disk'", "duplicate name 'Disk'")
        self.assert_refused("""
            [[record]]
            name = "Disk"
            fields = [{ name = "Size", type = "uint64" }, { name = "Size", type = "uint32" }]
            """, "record 'Disk', field 'Size'", "duplicate name 'Size'")
        self.assert_refused("""
            [[notification]]
            name = "Tick"
            members = []

            [[notification]]
            name = "Tick"
            members = []
            """, "notification 'Tick'", "duplicate name 'Tick'")

    def test_a_member_may_not_take_a_name_of_the_generated_code(self):
        self.assert_refused("""
            [[notification]]
            name = "Tick"
            members = [{ name = "count", type = "uint32" }]
            """, "notification 'Tick', member 'count'", "taken by the generated functions")

    def test_an_enum_must_say_how_it_travels(self):
        self.assert_refused("""
            [[record]]
            name = "Log"
            fields = [{ name = "level", type = "base.Level" }]
            """, "record 'Log', field 'level'", 'as = "text" or as = "number"')
        self.assert_refused("""
            [[record]]
            name = "Log"
            fields = [{ name = "level", type = "base.Level", as = "number" }]
            """, "field 'level'", "needs wire")

    def test_a_number_must_fit_its_wire_type(self):
        self.assert_refused("""
            [[enum]]
            name = "Big"
            values = [["HUGE", 300]]

            [[record]]
            name = "Holder"
            fields = [{ name = "big", type = "Big", as = "number", wire = "uint8" }]
            """, "field 'big'", "do not fit wire type uint8")

    def test_records_holding_each_other_are_refused(self):
        self.assert_refused("""
            [[record]]
            name = "A"
            fields = [{ name = "b", type = "B" }]

            [[record]]
            name = "B"
            fields = [{ name = "a", type = "A[]" }]
            """, "in a circle", "A -> B -> A")

    def test_a_borrowed_message_must_exist(self):
        self.assert_refused("""
            [[borrow]]
            set = "base"
            messages = ["Nothing"]
            """, "borrow from 'base', message 'Nothing'", "has no such message")

    def test_invalid_toml_names_the_file(self):
        self.assert_refused("[[record]\n", "not valid TOML")

    def test_a_typo_in_a_key_is_refused(self):
        self.assert_refused("""
            [[message]]
            name = "Ping"
            stauts = true
            """, "message 'Ping'", "unknown key 'stauts'")


class WellFormedDefinitions(unittest.TestCase):
    def test_records_come_after_the_records_they_hold(self):
        with tempfile.TemporaryDirectory() as folder:
            root = Path(folder)
            (root / "base.toml").write_text(USED_SET)
            (root / "demo.toml").write_text(textwrap.dedent("""
                set = "demo"
                namespace = "demo_bll"
                uses = ["base"]

                [[record]]
                name = "Outer"
                fields = [{ name = "inner", type = "Inner[]" }, { name = "head", type = "base.Head" }]

                [[record]]
                name = "Inner"
                fields = [{ name = "level", type = "base.Level", as = "text" }]
                """))
            message_set = definitions.load(root / "demo.toml")
            self.assertEqual([record.name for record in message_set.records], ["Inner", "Outer"])

            self.assertEqual(tmgen.main([str(root / "demo.toml"), "--output-dir", str(root / "out"),
                                         "--depfile", str(root / "demo.d")]), 0)
            self.assertTrue((root / "out" / "demo.h").is_file())
            self.assertIn(str(root / "base.toml"), (root / "demo.d").read_text())


if __name__ == "__main__":
    unittest.main()
