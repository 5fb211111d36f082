"""The examples of the documents, run one after the other as a reader would type them."""

import contextlib
import io
import os
import re
import tempfile

from support import ROOT, TestCase


class Examples(TestCase):
    def run_examples(self, document):
        text = (ROOT / document).read_text(encoding="utf-8")
        names = {}
        printed = io.StringIO()
        blocks = list(re.finditer(r"^```python\n(.*?)^```", text, re.S | re.M))
        self.assertTrue(blocks, document)
        with tempfile.TemporaryDirectory() as folder, contextlib.redirect_stdout(printed):
            os.symlink(ROOT / "samples", os.path.join(folder, "samples"))
            before = os.getcwd()
            os.chdir(folder)
            try:
                for block in blocks:
                    # Errors name the line of the document.
                    lines_before = text.count("\n", 0, block.start(1))
                    code = compile("\n" * lines_before + block[1], str(ROOT / document), "exec")
                    exec(code, names)
            finally:
                os.chdir(before)
                names.clear()
        return printed.getvalue()

    def test_guide(self):
        printed = self.run_examples("docs/guide.md")
        self.assertIn("Welcome to the garden club", printed)
        self.assertIn("Ada Example <ada@example.org>", printed)
        self.assertIn("parse error", printed)

    def test_the_others(self):
        for document in ("docs/python.md", "README.md"):
            self.run_examples(document)
