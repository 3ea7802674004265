#include "output/page_context.h"

#include <gtest/gtest.h>

namespace tessel {
namespace {

PageContext Sample() {
  PageContext c;
  c.network = "a<b>.sig";
  c.command = "tessel stats \"a<b>.sig\"";
  c.date = "2026-11-23 19:40";
  c.version = "1.2.3";
  return c;
}

TEST(PageContext, HeadAndLineGoAroundTheFixedText) {
  // A page without a head gains one after <html>; the line follows the body tag whatever its
  // case, and the page's own text is untouched.
  const std::string page = WithPageContext("<HTML><BODY>fixed</BODY></HTML>", Sample(), "Stats");
  EXPECT_EQ(page,
            "<HTML><head><meta charset=\"utf-8\"><title>Stats - a&lt;b&gt;.sig</title></head>"
            "<BODY><p class=\"tessel-context\" style=\"font-size:small;color:#555\">Network "
            "<b>a&lt;b&gt;.sig</b> &middot; <code>tessel stats &quot;a&lt;b&gt;.sig&quot;</code> "
            "&middot; 2026-11-23 19:40 &middot; TESSEL 1.2.3</p>\nfixed</BODY></HTML>");

  // A page with its own head (the query form's script) keeps it; a <bodyx> tag is not <body>.
  const std::string form =
      WithPageContext("<html><head><script></script></HEAD><body bgcolor=\"w\">x", Sample(), "F");
  EXPECT_EQ(form.find("<html><head><meta charset=\"utf-8\"><title>F - "), 0u);
  EXPECT_NE(form.find("<body bgcolor=\"w\"><p class=\"tessel-context\""), std::string::npos);
  EXPECT_EQ(WithPageContext("<html><bodyx>", Sample(), "T").find("tessel-context"),
            std::string::npos);

  // The start page link comes last; an empty context changes nothing.
  EXPECT_NE(ContextLine(Sample().linkingTo("../index.htm"))
                .find("&middot; <a href=\"../index.htm\">Start page</a></p>"),
            std::string::npos);
  EXPECT_EQ(WithPageContext("<html><body>x", PageContext{}, "T"), "<html><body>x");
}

TEST(PageContext, MadeForARunNamesTheFileNotItsFolder) {
  const PageContext c = MakePageContext("/data/lab/egf.sig", "tessel stats egf.sig");
  EXPECT_EQ(c.network, "egf.sig");
  EXPECT_EQ(c.version, TESSEL_VERSION);
  ASSERT_EQ(c.date.size(), 16u);  // YYYY-MM-DD HH:MM
  EXPECT_EQ(c.date[4], '-');
}

}  // namespace
}  // namespace tessel
