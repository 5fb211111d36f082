#include "cli/html_text.h"

#include <gtest/gtest.h>

#include <string>

namespace tallowbrook::cli {
namespace {

TEST(HtmlText, ReadsAsAPersonWould) {
  const struct {
    std::string html;
    std::string text;
  } cases[] = {
      {"Hello\r\n  <b>you</b>\t!", "Hello you !"},
      {"<p>One</p><P CLASS='x'>Two<br>Three<div>Four</div>", "One\n\nTwo\nThree\nFour"},
      {"<ul><li>a<li>b</ul>c", "- a\n- b\nc"},
      {"<table><tr><td>a<td>b<tr><td>c</table>", "a b\nc"},
      {"<pre>  x\r\n\ty</pre>z", "  x\n\ty\n\nz"},
      {"a<!-- <b> --><style>p{}</style><script>if (a</b) '<';</SCRIPT >b", "ab"},
      {"&lt;&amp;&gt;&nbsp;&uuml;&#252;&#xfc;&#128512;&unknown;&;&#0;&",
       "<&> üüü😀&unknown;&;&#0;&"},
      {"<a href=\"http://x.org/?a=1&amp;b=2\">here</a>.", "here <http://x.org/?a=1&b=2>."},
      {"<a href=http://x.org>http://x.org</a>", "http://x.org"},
      {"<img src=a.png alt='A > B'>", "[A > B]"},
      {"1 < 2 <3 </ <", "1 < 2 <3 </ <"},
      {"<title>never closed", "never closed"},
      {"<a href=\"never closed>x", "x"},
      {"<b", ""},
      {"", ""},
  };
  for (const auto& [html, text] : cases) EXPECT_EQ(html_to_text(html), text) << html;
}

// Each of these would take hours if a reader looked ahead again and again.
TEST(HtmlText, TakesLinearTime) {
  for (const char* piece : {"<", "<title>", "<!--", "<a href=\"", "<script></", "&", "<p x='"}) {
    std::string html;
    while (html.size() < 2'000'000) html += piece;
    static_cast<void>(html_to_text(html));
  }
}

}  // namespace
}  // namespace tallowbrook::cli
