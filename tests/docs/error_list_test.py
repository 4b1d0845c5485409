"""Holds scripts/error_list to what it promises: error_list_test.py SOURCE-FOLDER"""

import importlib.machinery
import importlib.util
import sys
import unittest

sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("error_list", sys.argv[1] + "/scripts/error_list")
error_list = importlib.util.module_from_spec(importlib.util.spec_from_loader("error_list", loader))
loader.exec_module(error_list)

GROUPS = """# A comment
cause: The disk is full.
cure: Make room.
    No room left on ...
    @src/disk/*.cpp

cause: Something else.
cure: Ask.
    + Seen by a user
"""


def texts(source):
    return set(error_list.collect({"src/file.cpp": source}))


class Texts(unittest.TestCase):
    def test_are_those_of_a_throw(self):
        self.assertEqual(texts('void F() { Print("Nothing is wrong"); throw Error("It went wrong", 7); }'),
                         {"It went wrong"})
        self.assertEqual(texts('// throw Error("It went wrong");'), set())

    def test_have_dots_for_what_differs(self):
        self.assertEqual(texts('throw Error(fmt::format("Cannot read {} at 0x{:x}", a, b));'),
                         {"Cannot read ... at 0x..."})
        self.assertEqual(texts('throw Error("Cannot read " + name + " twice");'), {"Cannot read ... twice"})
        self.assertEqual(texts('throw Error(name + " has no end");'), {"... has no end"})

    def test_are_each_of_a_choice(self):
        self.assertEqual(texts('throw Error(a ? "The one case" : "The other case");'),
                         {"The one case", "The other case"})

    def test_are_one_where_a_literal_is_cut(self):
        self.assertEqual(texts('throw Error("The first "\n      "and the second");'), {"The first and the second"})

    def test_are_what_a_thrown_variable_holds(self):
        self.assertEqual(texts('const auto text = Format("Too many {}", n); Log(text); throw Error(text, 3);'),
                         {"Too many ..."})

    def test_are_what_a_failing_function_is_given(self):
        self.assertEqual(texts('[[noreturn]] void Stop(const char *); void F() { Stop("All is lost"); }'),
                         {"All is lost"})
        self.assertEqual(texts('void Check(bool ok, const char *message) { if (!ok) { throw Error(message); } }'
                               'void F() { Check(false, "All is lost"); }'), {"All is lost"})

    def test_are_errors_of_the_log(self):
        self.assertEqual(texts('QVR_LOG_ERROR("A frame is lost"); QVR_LOG_DEBUG("A frame came");'),
                         {"A frame is lost"})


class Groups(unittest.TestCase):
    def assign(self, found):
        return error_list.assign(found, error_list.read_groups(GROUPS))

    def test_take_texts_by_name_and_by_file(self):
        rows, problems = self.assign({"No room left on ...": {"src/a.cpp"}, "Any other": {"src/disk/b.cpp"},
                                      "Seen by a user": {"src"}})
        self.assertEqual(problems, [])
        self.assertEqual({text: group.cure for text, group in rows},
                         {"No room left on ...": "Make room.", "Any other": "Make room.", "Seen by a user": "Ask."})

    def test_lack_nothing_and_have_nothing_else(self):
        _, problems = self.assign({"A new text": {"src/a.cpp"}, "Seen by a user": {"src"}})
        self.assertEqual(problems, ['docs/errors.groups: no source has "No room left on ..."',
                                    'src/a.cpp: "A new text" has no group'])


class AddedTexts(unittest.TestCase):
    def test_are_of_the_sources_that_have_them(self):
        sources = {"src/a.cpp": 'Log("no");', "tools/b.cpp": 'Tell("{} is lost: "\n     "its reason");'}
        self.assertEqual(error_list.sources_with("... is lost: its reason", sources), {"tools/b.cpp"})
        self.assertEqual(error_list.sources_with("Unknown error! (-1001)", sources), {"src"})


class Page(unittest.TestCase):
    def test_has_no_cause_for_whatever_is_left(self):
        groups = error_list.read_groups(error_list.GROUPS.read_text())
        patterns = [member for group in groups for member in group.members if member.startswith("@")]
        self.assertTrue(patterns)
        self.assertEqual([pattern for pattern in patterns if pattern.startswith("@tools/") and "*" in pattern], [])

    def test_has_one_cause_for_each_text(self):
        groups = error_list.read_groups(error_list.GROUPS.read_text())
        named = [member.removeprefix("+ ") for group in groups for member in group.members]
        self.assertEqual([member for member in set(named) if named.count(member) > 1], [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
