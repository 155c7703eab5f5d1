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


class Definitions(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        (self.root / "base.toml").write_text(USED_SET)

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

    def test_each_fault_is_named(self):
        cases = [
            ('[[record]]\nname = "Disk"\nfields = [{ name = "Size", type = "uint128" }]',
             "record 'Disk', field 'Size'", "unknown type 'uint128'"),
            ('[[message]]\nname = "Ping"\nrequest = [{ name = "head", type = "base.Heading" }]\nstatus = false',
             "message 'Ping', request 'head'", "set 'base' has no record or enum 'Heading'"),
            ('[[record]]\nname = "Disk"\nfields = [{ name = "head", type = "other.Head" }]',
             "field 'head'", "unknown set 'other'"),
            ('[[record]]\nname = "Disk"\nfields = [{ name = "Size", type = "uint64" }]\n'
             '[[enum]]\nname = "Disk"\nvalues = [["A", 0]]',
             "record 'Disk'", "duplicate name 'Disk'"),
            ('[[record]]\nname = "Disk"\nfields = [{ name = "Size", type = "uint64" }, { name = "Size", type = "uint32" }]',
             "record 'Disk', field 'Size'", "duplicate name 'Size'"),
            ('[[notification]]\nname = "Tick"\nmembers = []\n[[notification]]\nname = "Tick"\nmembers = []',
             "notification 'Tick'", "duplicate name 'Tick'"),
            ('[[notification]]\nname = "Tick"\nmembers = [{ name = "count", type = "uint32" }]',
             "notification 'Tick', member 'count'", "taken by the generated functions"),
            ('[[record]]\nname = "Log"\nfields = [{ name = "level", type = "base.Level" }]',
             "record 'Log', field 'level'", 'as = "text" or as = "number"'),
            ('[[record]]\nname = "Log"\nfields = [{ name = "level", type = "base.Level", as = "number" }]',
             "field 'level'", "needs wire"),
            ('[[enum]]\nname = "Big"\nvalues = [["HUGE", 300]]\n[[record]]\nname = "Holder"\n'
             'fields = [{ name = "big", type = "Big", as = "number", wire = "uint8" }]',
             "field 'big'", "do not fit wire type uint8"),
            ('[[record]]\nname = "A"\nfields = [{ name = "b", type = "B" }]\n'
             '[[record]]\nname = "B"\nfields = [{ name = "a", type = "A[]" }]',
             "in a circle", "A -> B -> A"),
            ('[[borrow]]\nset = "base"\nmessages = ["Nothing"]',
             "borrow from 'base', message 'Nothing'", "has no such message"),
            ("[[record]\n", "not valid TOML"),
            ('[[message]]\nname = "Ping"\nstauts = true', "message 'Ping'", "unknown key 'stauts'"),
        ]
        for text, *expected in cases:
            with self.subTest(expected[-1]):
                self.assert_refused(text + "\n", *expected)


    def test_records_come_after_the_records_they_hold(self):
        message_set = self.load("""
            [[record]]
            name = "Outer"
            fields = [{ name = "inner", type = "Inner[]" }, { name = "head", type = "base.Head" }]

            [[record]]
            name = "Inner"
            fields = [{ name = "level", type = "base.Level", as = "text" }]
            """)
        self.assertEqual([record.name for record in message_set.records], ["Inner", "Outer"])

        root = self.root
        self.assertEqual(tmgen.main([str(root / "demo.toml"), "--output-dir", str(root / "out"),
                                     "--depfile", str(root / "demo.d")]), 0)
        self.assertTrue((root / "out" / "demo.h").is_file())
        self.assertIn(str(root / "base.toml"), (root / "demo.d").read_text())


if __name__ == "__main__":
    unittest.main()
