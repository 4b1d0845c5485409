"""Holds document_test to what it promises: document_test_test.py FOLDER"""

import contextlib
import importlib.machinery
import importlib.util
import io
import os
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("document_test", os.path.join(os.path.dirname(__file__), "document_test"))
document_test = importlib.util.module_from_spec(importlib.util.spec_from_loader("document_test", loader))
loader.exec_module(document_test)


def sh(commands, *directives):
    return "".join(f"<!-- {directive} -->\n" for directive in directives) + f"```sh\n{commands}\n```\n"


def text(lines, *directives):
    return "".join(f"<!-- {directive} -->\n" for directive in directives) + f"\n```text\n{lines}\n```\n"


class Documents(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        (self.folder / "build").mkdir()
        (self.folder / "other.md").write_text("# A heading: of two parts\n")

    def check(self, content):
        document = self.folder / "document.md"
        document.write_text(content)
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            document_test.check_document(self.folder, self.folder / "build", document)
        return output.getvalue()

    def expect_failure(self, pattern, content):
        with self.subTest(content), self.assertRaisesRegex(document_test.Failure, pattern):
            self.check(content)

    def test_pass_when_their_commands_do_and_print_what_is_shown(self):
        self.check(sh("echo one; echo two") + text("one\ntwo"))
        self.check(sh("seq 5") + text("1\n...\n5"))
        self.check(sh("echo took 17 ms") + text("took ... ms"))
        self.check(sh("echo 'Writing the last 3 frames; Ctrl-C leaves them out'; echo two") + text("two"))
        self.check("1. First:\n\n   ```sh\n   echo one\n   ```\n\n   ```text\n   one\n   ```\n")

    def test_fail_with_a_command_or_an_output(self):
        self.expect_failure("1: ended with 1, not with 0", sh("false; true"))
        self.expect_failure("1: ended with 1, not with 0", sh("false | true"))
        self.expect_failure("shown is\ntwo\n\nprinted is\none", sh("echo one") + text("two"))
        self.expect_failure("shown is", sh("seq 2") + text("1"))
        self.expect_failure("shown is", sh("seq 2") + text("1\n2\n3"))

    def test_keep_variables_and_the_folder_between_blocks(self):
        self.check(sh("export COLOUR=red; mkdir deep; cd deep") + sh("echo $COLOUR; basename $PWD") + text("red\ndeep"))

    def test_write_nothing_into_the_source_tree(self):
        (self.folder / "part").mkdir()
        (self.folder / "part" / "ours").write_text("")
        before = sorted(self.folder.rglob("*"))
        self.check(sh("touch mine part/mine; ls part") + text("ours\nmine", "not compared: the order differs"))
        self.assertEqual(sorted(self.folder.rglob("*")), sorted([*before, self.folder / "document.md"]))

    def test_fail_when_they_write_into_a_folder_of_code(self):
        (self.folder / "src").mkdir()
        self.expect_failure("1: writes into a folder of code", sh("touch src/mine"))

    def test_obey_directives(self):
        self.assertEqual(self.check(sh("false", "not run: needs root") + text("anything")),
                         "2: not run: needs root\n")
        self.check(sh("exit 3", "exit: 3"))
        self.check(sh("cat mine", "first: echo one > mine") + text("one"))
        self.check(sh("date") + text("today", "not compared: it differs"))
        (self.folder / "part.py").write_text("import this\n\nprint(7)\nprint(8)\n")
        self.check("<!-- from: part.py -->\n```python\nimport this\n\nprint(7)\n```\n")
        self.expect_failure("part.py has no such lines", "<!-- from: part.py -->\n```python\nprint(9)\n```\n")
        self.expect_failure("has no reason", sh("false", "not run:"))
        self.expect_failure("no directive is called \"skip\"", sh("false", "skip: it fails"))
        self.expect_failure("ended with 0, not with 3", sh("true", "exit: 3"))

    def test_are_interrupted_on_request(self):
        endless = "trap 'echo ends; exit 130' INT; echo begins; while :; do sleep 0.01; done"
        self.check(sh(endless, "Ctrl-C: after 1 line") + text("begins\nends"))
        self.check(sh("(trap 'echo ends; exit 3' INT; while :; do sleep 0.01; echo runs; done)",
                      "Ctrl-C: after 2 lines", "exit: 3") + text("runs\nruns\n...\nends"))
        self.expect_failure("ended with 0, not with 130", sh("echo 1; echo 2", "Ctrl-C: after 3 lines"))
        self.expect_failure("is not \"after N lines\"", sh("true", "Ctrl-C: soon"))

    def test_are_run_where_their_program_is(self):
        self.expect_failure("ended with 1", sh("false", "needs: bash"))
        self.assertEqual(self.check(sh("false", "needs: no-such-program") + text("anything")),
                         "2: not run: no-such-program is not installed\n")

    def test_have_a_home_of_their_own(self):
        self.check(sh("echo one > ~/mine") + sh("ls ~") + text("mine"))
        self.assertFalse((Path.home() / "mine").exists())

    def test_run_the_commands_of_a_table_on_request(self):
        table = "| feature | command |\n|---|---|\n| a | `export A=1 \\| true`, `--option` |\n| b | `export B=$C` |\n"
        peer = "<!-- run: table -->\n| feature | ours | theirs |\n|---|---|---|\n| a | `export A=1` | `export B=$C` |\n"
        self.check(peer)
        self.check(table)
        self.expect_failure("5: ended with 1", "<!-- run: table -->\n" + table)

    def test_must_mark_their_commands(self):
        for command in ("gentlctl list", "PROXY_TL_LOG_LEVEL=error your-application", "sudo apt-get install gcc"):
            self.expect_failure("is a command", f"```\n{command}\n```\n")
        self.check("```\na drawing | of gentlctl\n```\n")

    def test_must_end_their_blocks(self):
        self.expect_failure("1: the block has no end", "```sh\ntrue\n")

    def test_must_have_links_that_lead_somewhere(self):
        self.check("[there](other.md), [part](other.md#a-heading-of-two-parts), [far](https://example.org/)")
        self.expect_failure("no another.md", "[nowhere](another.md)")
        self.expect_failure("no heading b", "[nowhere](other.md#b)")


if __name__ == "__main__":
    unittest.main()
