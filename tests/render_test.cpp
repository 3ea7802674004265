// Rendering through Graphviz, the SVG navigation bar (checked as XML and in a real
// browser) and the whole-network drawing.
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "model/color_table.h"
#include "output/dot.h"
#include "output/drawing.h"
#include "output/render.h"
#include "test_support.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;

std::size_t CountOf(const pugi::xml_node& root, const char* xpath) {
  return root.select_nodes(xpath).size();
}

TEST(Render, BadDotGivesRenderErrorAndLeavesTheFileAlone) {
  std::string message;
  try {
    RenderSvg("digraph G {\n a -> ;\n}");
  } catch (const RenderError& e) {
    message = e.what();
  }
  EXPECT_NE(message.find("syntax error in line 2"), std::string::npos) << message;
  EXPECT_EQ(message.find('\n'), std::string::npos) << message;
  EXPECT_THROW(RenderJpeg("digraph G { \"unclosed -> B; }"), RenderError);
  EXPECT_THROW(RenderSvg(""), RenderError);
  test::ScratchDir dir;
  test::WriteFile(dir / "old.svg", "previous drawing");
  EXPECT_THROW(RenderSvgFile("digraph {", dir / "old.svg"), RenderError);
  EXPECT_EQ(test::ReadFile(dir / "old.svg"), "previous drawing");
  RenderJpegFile("digraph { A -> B; }", dir / "sub" / "new.jpg");  // the parser recovers
  EXPECT_TRUE(test::ReadFile(dir / "sub" / "new.jpg").starts_with("\xFF\xD8\xFF"));
}

TEST(Render, AnImageTooThinToDrawIsAnErrorNotAnEmptyFile) {
  // One node 100,000 letters wide, scaled into 37.5 inches: the JPEG renderer gives nothing.
  std::string label = "\"" + std::string(10000, 'A') + "\"";
  for (int k = 1; k < 10; ++k) label += " + \"" + std::string(10000, 'A') + "\"";
  const std::string dot = "digraph G { size=\"37.5,50\"; a [label=" + label + "]; a -> b; }";
  test::ScratchDir dir;
  try {
    RenderJpegFile(dot, dir / "wide.jpg");
    FAIL();
  } catch (const RenderError& e) {
    EXPECT_TRUE(std::string(e.what()).starts_with((dir / "wide.jpg").string() + ": Graphviz "));
    EXPECT_NE(std::string(e.what()).find("empty jpg image"), std::string::npos) << e.what();
  }
  EXPECT_FALSE(fs::exists(dir / "wide.jpg"));
}

TEST(Render, ConcurrentRenderingMatchesSequential) {
  std::vector<std::string> dots = {"digraph G { a -> ; }"};  // a failure among the others
  std::string edges;                                         // a growing tree
  for (int i = 1; dots.size() < 6; ++i) {
    edges += "N" + std::to_string(i) + " N" + std::to_string(i / 2) + " " + "+_0"[i % 3] + "\n";
    dots.push_back(NetworkDot(test::NetworkFromEdges(edges), ColorShapeTable::Defaults()));
  }
  const auto renderBoth = [](const std::string& dot) {
    try {
      return RenderSvg(dot) + RenderJpeg(dot);
    } catch (const RenderError&) {
      return std::string("error");
    }
  };
  std::vector<std::string> expected;
  for (const std::string& dot : dots) expected.push_back(renderBoth(dot));
  ASSERT_EQ(expected.front(), "error");
  std::atomic<int> mismatches = 0;
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t k = 0; k < 5 * dots.size(); ++k) {  // each thread in its own order
        const std::size_t pick = (k + 2 * t) % dots.size();
        if (renderBoth(dots[pick]) != expected[pick]) ++mismatches;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(mismatches, 0);
}

// ---------------------------------------------------------------------------------------
// Navigation

std::string SmallNavigationSvg(int mode) {
  return AddSvgNavigation(
      RenderSvg("digraph G { \"A\" [URL=\"A.htm\"]; \"A\" -> \"B\"; \"B\" -> \"C\"; }"), mode);
}

TEST(SvgNavigation, WellFormedWithTheDrawingInThePathwayGroupAndTheBarLast) {
  for (const int mode : {1, 2}) {
    SCOPED_TRACE(mode);
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(SmallNavigationSvg(mode).c_str()));
    std::vector<std::string> children;
    for (const auto& child : doc.document_element().children()) children.emplace_back(child.name());
    EXPECT_EQ(children, (std::vector<std::string>{"script", "clipPath", "rect", "g", "g"}));
    EXPECT_EQ(CountOf(doc, "/svg/g/g[@id='Pathway']/g[@id='graph0']//g[@class='node']"), 3u);
    EXPECT_EQ(CountOf(doc, "//g[@class='node']"), 3u);
    EXPECT_EQ(CountOf(doc, "//g[@id='Pathway']//a[@xlink:href='A.htm']"), 1u);
    EXPECT_EQ(CountOf(doc, "//g[@id='Pathway']/g[@id='stkecm;CMP_10705']"), mode == 2 ? 1u : 0u);
    EXPECT_EQ(CountOf(doc, "/svg/g[last()][@id='navbox']/*[@onmouseup]"), 7u);
  }
}

// Links in an embedded drawing open as whole pages; a target the DOT text names is kept.
TEST(Render, EveryLinkOfTheSvgOpensAsAWholePage) {
  const std::pair<const char*, const char*> cases[] = {
      {"digraph G { \"A\" [URL=\"A.htm\"]; \"A\" -> \"B\" [URL=\"e.htm\"]; }", "_top"},
      {"digraph G { URL=\"g.htm\"; \"A\" [URL=\"A.htm\", target=\"x\"]; \"B\" [URL=\"B.htm\"]; "
       "\"A\" -> \"B\" [URL=\"e.htm\"]; }",
       "x"},
  };
  for (const auto& [dot, ownTarget] : cases) {
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(RenderSvg(dot).c_str())) << dot;
    const auto links = doc.select_nodes("//a[@xlink:href]");
    ASSERT_GE(links.size(), 2u) << dot;
    for (const auto& link : links) {
      const std::string href = link.node().attribute("xlink:href").value();
      EXPECT_STREQ(link.node().attribute("target").value(), href == "A.htm" ? ownTarget : "_top")
          << dot << " " << href;
    }
  }
}

TEST(SvgNavigation, RewritesOnlyARecognisedDrawingWithoutTheBar) {
  // Older Graphviz versions wrote the start tag on one line and "</g></svg>" together.
  const std::string old =
      "<?xml version=\"1.0\"?>\n<svg width=\"62pt\" viewBox=\"0 0 62 44\">\n<g id=\"graph0\" "
      "class=\"graph\"><g id=\"node1\" class=\"node\"><title>A</title></g></g></svg>";
  const std::string navigated = AddSvgNavigation(old, 1);
  EXPECT_NE(navigated.find("<!-- drawing: width=\"62pt\" viewBox=\"0 0 62 44\" -->\n<svg "),
            std::string::npos);
  pugi::xml_document doc;
  EXPECT_TRUE(doc.load_string(navigated.c_str()) &&
              doc.select_node("//g[@id='Pathway']/g[@id='graph0']/g[@class='node']"));

  const std::string svg = RenderSvg("digraph G { A -> B; }");
  const std::size_t open = svg.find("<svg ");
  for (const std::string& text : {
           std::string("plain text, no drawing"),
           svg.substr(0, svg.rfind("</svg>")),                         // no closing tag
           svg.substr(0, open) + svg.substr(svg.find('>', open) + 1),  // no start tag
           std::string("<svg width=\"1pt\" height=\"1pt\"/>"),
           std::string("<svg width=\"1\">\n<rect/>\n</svg>\n"),         // no closing group
           std::string("<html><svg width=\"1\"><g></g></svg></html>"),  // not the root
           svg + "<!-- trailing -->",
           navigated,  // the bar is there already
       }) {
    for (const int mode : {1, 2}) EXPECT_EQ(AddSvgNavigation(text, mode), text) << text;
  }
  EXPECT_THROW(AddSvgNavigation(svg, 0), std::invalid_argument);
  EXPECT_THROW(AddSvgNavigation(svg, 3), std::invalid_argument);
}

// A real browser clicks the bar's buttons in both modes and lists the numbers of the
// group's transform after each step, then the clicks forwarded to the framing page.
constexpr const char* kChromium = "/usr/bin/chromium";
constexpr std::string_view kHarness = R"html(<!DOCTYPE html>
<html><head><meta charset="utf-8"><script>
var out = [], clicked = [];
function click_node(id) { clicked.push('node:' + id); }
function drive(frameId) {
  var frame = document.getElementById(frameId), doc = frame.contentDocument;
  var record = function () {
    var transform = doc.getElementById('Pathway').getAttribute('transform');
    out.push(transform.match(/-?[0-9][0-9.e+-]*/g));
  };
  record();
  ['zoom_in', 'pan_left', 'pan_down', 'zoom_out', 'go_home'].forEach(function (id) {
    doc.getElementById(id).dispatchEvent(new MouseEvent('mouseup', {bubbles: true}));
    record();
  });
  frame.contentWindow.click_node('N' + frameId);
  frame.contentWindow.click_relation('R');  // not offered by this page: nothing happens
}
window.addEventListener('load', function () {
  try { drive('mode1'); drive('mode2'); out.push(clicked.join(',')); } catch (e) { out.push(e); }
  var pre = document.createElement('pre');
  pre.textContent = 'RESULT ' + out.join(' ').replace(/,(?=[-0-9])/g, ' ') + ' END';
  document.body.appendChild(pre);
});
</script></head><body>
<iframe id="mode1" src="mode1.svg" width="760" height="620"></iframe>
<iframe id="mode2" src="mode2.svg" width="760" height="620"></iframe>
</body></html>
)html";

TEST(SvgNavigationBrowser, ButtonsZoomPanAndRestoreTheDrawing) {
  if (!fs::exists(kChromium)) GTEST_SKIP() << kChromium << " is not installed";
  test::ScratchDir dir;
  test::WriteFile(dir / "mode1.svg", SmallNavigationSvg(1));
  test::WriteFile(dir / "mode2.svg", SmallNavigationSvg(2));
  test::WriteFile(dir / "harness.html", kHarness);
  const std::string command =
      std::string("timeout 120 ") + kChromium +
      " --headless --no-sandbox --disable-gpu --no-first-run --disable-background-networking"
      " --disable-component-update --disable-sync --allow-file-access-from-files"
      " --dump-dom --virtual-time-budget=3000 --user-data-dir='" +
      (dir / "profile").string() + "' 'file://" + (dir / "harness.html").string() + "' > '" +
      (dir / "dom.html").string() + "' 2> '" + (dir / "log").string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0) << command << "\n" << test::ReadFile(dir / "log");
  const std::string page = test::ReadFile(dir / "dom.html");
  ASSERT_NE(page.rfind("RESULT "), std::string::npos) << page;
  std::istringstream result(page.substr(page.rfind("RESULT ") + 7));
  // transformMap gives translate(-371 (s - 0.8) + x, -303 (s - 0.8) + y) scale(s). Mode 1
  // restores to (120, 150, 0.5) and only scales on zoom; mode 2 restores to (0, 0, 0.5) and
  // pans twelve steps after each zoom. Zooming out stops at 0.8.
  const double steps[][3] = {{120, 150, 0.5}, {120, 150, 1.3}, {140, 150, 1.3}, {140, 130, 1.3},
                             {140, 130, 0.8}, {120, 150, 0.5}, {0, 0, 0.5},     {0, 240, 1.3},
                             {20, 240, 1.3},  {20, 220, 1.3},  {20, -20, 0.8},  {0, 0, 0.5}};
  for (std::size_t i = 0; i < std::size(steps); ++i) {
    SCOPED_TRACE(::testing::Message() << "step " << i);
    const auto [x, y, s] = steps[i];
    double actual[3] = {};
    ASSERT_TRUE(result >> actual[0] >> actual[1] >> actual[2]) << page;
    EXPECT_NEAR(actual[0], -371.0 * (s - 0.8) + x, 1e-6);
    EXPECT_NEAR(actual[1], -303.0 * (s - 0.8) + y, 1e-6);
    EXPECT_NEAR(actual[2], s, 1e-6);
  }
  std::string clicked;
  result >> clicked;
  EXPECT_EQ(clicked, "node:Nmode1,node:Nmode2");
}

// ---------------------------------------------------------------------------------------
// The whole-network drawing

TEST(Drawing, AwkwardNamesGiveDotJpegAndWellFormedNavigableSvg) {
  std::string longName;  // longer than Graphviz's scanner takes in one quoted string
  for (int i = 0; i < 4000; ++i) longName += "AB\"\\C\xC3\xA9-";
  const std::vector<std::pair<std::string, std::string>> names = {
      // name, label shown
      {"IL-1", "IL-1"}, {"ERK1/2", "ERK1/2"},       {"a\"b", "a\"b"},    {"a\\b", "a\\b"},
      {"<x>", "<x>"},   {"\xC3\xA9", "\xC3\xA9"},   {"x&y", "x&y"},      {"a--b", "a--b"},
      {"\\N", "\\N"},   {"caf\xE9", "caf\xC3\xA9"}, {longName, longName}};
  std::string edges;
  for (std::size_t i = 0; i < names.size(); ++i) {
    edges += names[i].first + " " + names[(i + 1) % names.size()].first + " +\n";
  }
  const Network network = test::NetworkFromEdges(edges);
  const ColorShapeTable colors = ColorShapeTable::Defaults();
  test::ScratchDir dir;
  for (const char* bad : {"", ".", "..", "../up", "sub/name", "a\\b"}) {
    EXPECT_THROW(DrawNetwork(network, colors, dir.path(), bad), std::invalid_argument) << bad;
  }
  EXPECT_TRUE(fs::is_empty(dir.path()));

  DrawNetwork(network, colors, dir / "out", "my net.v2");
  EXPECT_EQ(test::ReadFile(dir / "out" / "my net.v2.dot"), NetworkDot(network, colors));
  EXPECT_TRUE(test::ReadFile(dir / "out" / "my net.v2.jpg").starts_with("\xFF\xD8\xFF"));
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(test::ReadFile(dir / "out" / "my net.v2.svg").c_str()));
  std::set<std::string> labels;
  for (const auto& text : doc.select_nodes("//text")) labels.insert(text.node().text().get());
  for (const auto& [name, label] : names) EXPECT_TRUE(labels.contains(label)) << name.substr(0, 9);
  EXPECT_EQ(CountOf(doc, "//g[@id='Pathway']//g[@class='edge']"), names.size());
  EXPECT_EQ(CountOf(doc, "//g[@id='Pathway']//a[@xlink:href='ERK1_2F2.htm']"), 1u);
  EXPECT_TRUE(doc.select_node("//g[@id='Pathway']/g[@id='stkecm;CMP_10705']"));  // mode 2

  const Network small = test::NetworkFromEdges("A B +\n");  // drawing again replaces the files
  DrawNetwork(small, colors, dir / "out", "my net.v2");
  EXPECT_EQ(test::ReadFile(dir / "out" / "my net.v2.dot"), NetworkDot(small, colors));
  EXPECT_EQ(std::distance(fs::directory_iterator(dir / "out"), fs::directory_iterator()), 3);
}

TEST(Drawing, BeyondTheLimitsIsRefusedBeforeGraphvizNamingTheFile) {
  std::string edges;
  const std::size_t molecules = kMaxDrawingElements / 2 + 1;
  for (std::size_t k = 1; k < molecules; ++k) {
    edges += "M" + std::to_string(k) + " M" + std::to_string(k + 1) + " +\n";
  }
  const Network chain = test::NetworkFromEdges(edges);
  EXPECT_NE(DrawingSizeProblem(chain).find("too large to draw"), std::string::npos);
  const Network longName =
      test::NetworkFromEdges(std::string(kMaxDrawingNameLength + 1, 'N') + " B +\n");
  EXPECT_NE(DrawingSizeProblem(longName).find("drawings take names of at most"), std::string::npos);
  EXPECT_EQ(DrawingSizeProblem(test::NetworkFromEdges("A B +\n")), "");
  test::ScratchDir dir;
  for (const Network* net : {&chain, &longName}) {
    try {
      DrawNetwork(*net, ColorShapeTable::Defaults(), dir.path(), "big");
      FAIL();
    } catch (const RenderError& e) {
      EXPECT_TRUE(std::string(e.what()).starts_with((dir / "big.jpg").string() + ": "));
    }
  }
  EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST(Drawing, LargeNetworksSwitchToTheFastEngineAndSmallOnesKeepTheirText) {
  const ColorShapeTable colors = ColorShapeTable::Defaults();
  const auto chain = [](std::size_t molecules, std::size_t extra) {
    std::string edges;
    for (std::size_t k = 1; k < molecules; ++k) {
      edges += "M" + std::to_string(k) + " M" + std::to_string(k + 1) + " +\n";
    }
    for (std::size_t k = 0; k < extra; ++k) {  // chords, to pass the interaction limit
      const std::size_t from = k % molecules, to = (from + 2 + k / molecules) % molecules;
      edges += "M" + std::to_string(from + 1) + " M" + std::to_string(to + 1) + " _\n";
    }
    return test::NetworkFromEdges(edges);
  };
  const Network small =
      chain(kFastLayoutMolecules, kFastLayoutInteractions - kFastLayoutMolecules + 1);
  ASSERT_EQ(small.interactionCount(), kFastLayoutInteractions);
  EXPECT_FALSE(UsesFastLayout(small));
  EXPECT_TRUE(UsesFastLayout(chain(kFastLayoutMolecules + 1, 0)));
  EXPECT_TRUE(UsesFastLayout(chain(50, kFastLayoutInteractions)));

  test::ScratchDir dir;
  const Network tiny = chain(3, 0);
  DrawNetwork(tiny, colors, dir.path(), "tiny");
  EXPECT_EQ(test::ReadFile(dir / "tiny.dot"), NetworkDot(tiny, colors));
  EXPECT_EQ(NetworkDot(tiny, colors).find("layout"), std::string::npos);

  // The large drawing states its engine, and the layout, SVG and JPEG steps are reported.
  struct Steps : Progress {
    std::vector<std::string> texts;
    void report(std::size_t, std::size_t, std::string_view text) override {
      if (texts.empty() || texts.back() != text) texts.emplace_back(text);
    }
  } steps;
  const Network large = chain(kFastLayoutMolecules + 1, 0);
  const DrawResult drawn = DrawNetwork(large, colors, dir.path(), "large", steps);
  const std::string dot = test::ReadFile(drawn.dot);
  EXPECT_TRUE(dot.starts_with("digraph G {size=\"37.5,50\";concentrate=false;\n/*"))
      << dot.substr(0, 200);
  EXPECT_NE(dot.find("\nlayout=sfdp;"), std::string::npos);
  EXPECT_EQ(steps.texts,
            (std::vector<std::string>{"Laying out the drawing", "Rendering the SVG drawing",
                                      "Rendering the JPEG image", "Drawing rendered"}));
  EXPECT_TRUE(test::ReadFile(drawn.jpeg).starts_with("\xFF\xD8\xFF"));
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(test::ReadFile(drawn.svg).c_str()));
  EXPECT_EQ(CountOf(doc, "//g[@id='Pathway']//g[@class='node']"), kFastLayoutMolecules + 1);
}

}  // namespace
}  // namespace tessel
