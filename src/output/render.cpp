#include "output/render.h"

#include <graphviz/cgraph.h>
#include <graphviz/gvc.h>

#include <pthread.h>

#include <cstdlib>
#include <exception>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "util/files.h"

namespace tessel {
namespace {

// ---------------------------------------------------------------------------------------
// Graphviz access
//
// libgvc and libcgraph keep global state (the parser, the error channel, plugin tables)
// and are not safe to call from two threads at once, so every call into them, creating and
// freeing the context included, happens under one process-wide lock.

class Graphviz {
 public:
  static Graphviz& instance() {
    static Graphviz graphviz;
    return graphviz;
  }

  Graphviz(const Graphviz&) = delete;
  Graphviz& operator=(const Graphviz&) = delete;

  ~Graphviz() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (context_ != nullptr) gvFreeContext(context_);
  }

  std::mutex& mutex() { return mutex_; }

  // The shared context, made on first use. Call with the lock held.
  GVC_t* context() {
    if (context_ == nullptr) {
      // Messages are kept by the library instead of going to stderr; aglasterr() hands
      // back the last one. (A user-installed message function is not used: this version
      // of the library mishandles messages longer than its first 1024-byte buffer.)
      agseterr(AGMAX);
      context_ = gvContext();
      if (context_ == nullptr) throw RenderError("Graphviz could not be started");
    }
    return context_;
  }

 private:
  Graphviz() = default;

  std::mutex mutex_;
  GVC_t* context_ = nullptr;
};

// Marks the start of one render, so that LastMessage() sees only what this render said.
// Call with the lock held.
void ClearMessages() {
  agreseterrors();
  agerr(AGWARN, "%s", "");
}

// The last message Graphviz gave since ClearMessages(), trimmed; empty when none.
// Call with the lock held.
std::string LastMessage() {
  char* text = aglasterr();
  std::string message = text != nullptr ? text : "";
  std::free(text);
  const auto first = message.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return {};
  const auto last = message.find_last_not_of(" \t\r\n");
  message = message.substr(first, last - first + 1);
  // One line: multi-line messages are joined.
  for (char& c : message) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return message;
}

// Throws a RenderError saying `what` failed and why, in Graphviz's words when it gave
// some, else in `otherwise`.
[[noreturn]] void Fail(std::string_view what, std::string_view otherwise) {
  const std::string detail = LastMessage();
  throw RenderError(std::string(what) + ": " + (detail.empty() ? std::string(otherwise) : detail));
}

// Frees a graph's layout (also what a failed layout left behind) and closes the graph when
// it goes out of scope.
class GraphHandle {
 public:
  GraphHandle(GVC_t* context, Agraph_t* graph) : context_(context), graph_(graph) {}
  GraphHandle(const GraphHandle&) = delete;
  GraphHandle& operator=(const GraphHandle&) = delete;
  ~GraphHandle() {
    gvFreeLayout(context_, graph_);
    agclose(graph_);
  }
  Agraph_t* get() const { return graph_; }

 private:
  GVC_t* context_;
  Agraph_t* graph_;
};

// The drawings are shown embedded in pages; a link followed inside the embedded drawing
// would open its page inside that small frame. Every link of the graph, its nodes and its
// edges (edge labels, heads and tails inherit the edge's target) opens in the whole window
// instead, unless the DOT text names a target of its own. The DOT text stays as written.
void OpenLinksAsWholePages(Agraph_t* graph) {
  static char kTarget[] = "target";
  static char kTop[] = "_top";
  const char* own = agget(graph, kTarget);
  if (own == nullptr || own[0] == '\0') agattr(graph, AGRAPH, kTarget, kTop);
  // Not declared: every node (edge) gets "_top" as its value. Declared by the DOT text:
  // only the objects it left without a target get one.
  if (Agsym_t* nodes = agattr(graph, AGNODE, kTarget, nullptr); nodes == nullptr) {
    agattr(graph, AGNODE, kTarget, kTop);
  } else {
    for (Agnode_t* n = agfstnode(graph); n != nullptr; n = agnxtnode(graph, n)) {
      if (agxget(n, nodes)[0] == '\0') agxset(n, nodes, kTop);
    }
  }
  if (Agsym_t* edges = agattr(graph, AGEDGE, kTarget, nullptr); edges == nullptr) {
    agattr(graph, AGEDGE, kTarget, kTop);
  } else {
    for (Agnode_t* n = agfstnode(graph); n != nullptr; n = agnxtnode(graph, n)) {
      for (Agedge_t* e = agfstout(graph, n); e != nullptr; e = agnxtout(graph, e)) {
        if (agxget(e, edges)[0] == '\0') agxset(e, edges, kTop);
      }
    }
  }
}

// Graphviz's parser and layouts recurse over the graph: a long chain of molecules needs a
// deep stack (a chain of 300,000 overflowed the usual 8 MB main stack). The library is
// therefore run on a thread of its own with a large stack; the memory is reserved, and only
// the part used is ever touched.
constexpr std::size_t kGraphvizStackBytes = std::size_t{1} << 30;

template <typename Work>
void RunOnLargeStack(Work& work) {
  struct Call {
    Work* work;
    std::exception_ptr error;
  } call{&work, nullptr};
  const auto body = [](void* arg) -> void* {
    auto* c = static_cast<Call*>(arg);
    try {
      (*c->work)();
    } catch (...) {
      c->error = std::current_exception();
    }
    return nullptr;
  };
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setstacksize(&attr, kGraphvizStackBytes);
  pthread_t thread;
  const int started = pthread_create(&thread, &attr, body, &call);
  pthread_attr_destroy(&attr);
  if (started != 0) {
    work();  // no thread to be had: run on this one
    return;
  }
  pthread_join(thread, nullptr);
  if (call.error) std::rethrow_exception(call.error);
}

// Lays `dot` out once and renders it in each of `formats`, in order. The engine is dot
// unless the graph names another in its "layout" attribute. With `progress`, reports the
// layout and each format as a step.
std::vector<std::string> Render(std::string_view dot, std::initializer_list<const char*> formats,
                                Progress* progress = nullptr) {
  const std::size_t steps = formats.size() + 1;
  if (progress != nullptr) progress->report(0, steps, "Laying out the drawing");
  Graphviz& graphviz = Graphviz::instance();
  std::lock_guard<std::mutex> lock(graphviz.mutex());
  GVC_t* context = graphviz.context();
  ClearMessages();

  const std::string text(dot);  // the parser wants a terminated string
  std::vector<std::string> results;
  auto work = [&] {
    Agraph_t* parsed = agmemread(text.c_str());
    if (parsed == nullptr) Fail("Graphviz could not read the DOT text", "it holds no graph");
    GraphHandle graph(context, parsed);
    // The parser can give up part way through (on a token too long for it, say) and still
    // return the graph read so far.
    if (agerrors() > 0) Fail("Graphviz could not read the DOT text", "a syntax error");
    OpenLinksAsWholePages(graph.get());

    if (gvLayout(context, graph.get(), "dot") != 0) {
      Fail("Graphviz could not lay out the drawing", "no reason given");
    }

    std::size_t done = 1;
    for (const char* format : formats) {
      if (progress != nullptr) {
        ThrowIfCancelled(*progress);
        const std::string_view name = format;
        progress->report(done, steps,
                         name == "jpg" ? "Rendering the JPEG image" : "Rendering the SVG drawing");
      }
      char* data = nullptr;
      unsigned int length = 0;
      if (gvRenderData(context, graph.get(), format, &data, &length) != 0 || data == nullptr) {
        if (data != nullptr) gvFreeRenderData(data);
        Fail(std::string("Graphviz could not render the drawing as ") + format, "no reason given");
      }
      results.emplace_back(data, length);
      gvFreeRenderData(data);
      // An image the renderer could not make comes back as success with nothing in it.
      if (length == 0) {
        Fail(std::string("Graphviz rendered an empty ") + format + " image",
             "the drawing is probably too large for the renderer");
      }
      ++done;
    }
  };
  RunOnLargeStack(work);
  if (progress != nullptr) progress->report(steps, steps, "Drawing rendered");
  return results;
}

// ---------------------------------------------------------------------------------------
// SVG navigation

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Where the parts of a drawing are: its root start tag [tagBegin, tagEnd), the drawing up to
// and including its last "</g>" [tagEnd, drawingEnd), and the root end tag at closeBegin.
struct SvgLayout {
  std::size_t tagBegin = 0;
  std::size_t tagEnd = 0;
  std::size_t drawingEnd = 0;
  std::size_t closeBegin = 0;
};

// The end (one past '>') of the markup starting at `pos`, skipping quoted values and, for a
// document type declaration, its internal subset; npos when it is not closed.
std::size_t MarkupEnd(std::string_view svg, std::size_t pos) {
  char quote = 0;
  int brackets = 0;
  for (std::size_t i = pos + 1; i < svg.size(); ++i) {
    const char c = svg[i];
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '[') {
      ++brackets;
    } else if (c == ']') {
      --brackets;
    } else if (c == '>' && brackets <= 0) {
      return i + 1;
    }
  }
  return std::string_view::npos;
}

std::optional<SvgLayout> FindSvgLayout(std::string_view svg) {
  constexpr auto npos = std::string_view::npos;
  SvgLayout layout;
  // The first element, after the XML declaration, comments and the document type.
  std::size_t pos = 0;
  for (;;) {
    pos = svg.find('<', pos);
    if (pos == npos) return std::nullopt;
    const std::string_view rest = svg.substr(pos);
    std::size_t end = npos;
    if (rest.starts_with("<!--")) {
      end = svg.find("-->", pos + 4);
      if (end != npos) end += 3;
    } else if (rest.starts_with("<?")) {
      end = svg.find("?>", pos + 2);
      if (end != npos) end += 2;
    } else if (rest.starts_with("<!")) {
      end = MarkupEnd(svg, pos);
    } else {
      break;
    }
    if (end == npos) return std::nullopt;
    pos = end;
  }
  if (!svg.substr(pos).starts_with("<svg") || pos + 4 >= svg.size() || !IsSpace(svg[pos + 4])) {
    return std::nullopt;
  }
  layout.tagBegin = pos;
  layout.tagEnd = MarkupEnd(svg, pos);
  if (layout.tagEnd == npos || svg[layout.tagEnd - 2] == '/') return std::nullopt;
  const std::string_view tag = svg.substr(layout.tagBegin, layout.tagEnd - layout.tagBegin);
  if (tag.find("onload=\"init(evt)\"") != npos) return std::nullopt;  // navigation already added

  // The closing: "</g>", blanks, "</svg>", blanks.
  layout.closeBegin = svg.rfind("</svg>");
  if (layout.closeBegin == npos || layout.closeBegin < layout.tagEnd) return std::nullopt;
  for (std::size_t i = layout.closeBegin + 6; i < svg.size(); ++i) {
    if (!IsSpace(svg[i])) return std::nullopt;
  }
  std::size_t end = layout.closeBegin;
  while (end > layout.tagEnd && IsSpace(svg[end - 1])) --end;
  if (end < layout.tagEnd + 4 || svg.substr(end - 4, 4) != "</g>") return std::nullopt;
  layout.drawingEnd = end;
  return layout;
}

// The drawing's own root attributes (its size in points and view box), kept as a comment.
std::string HeaderComment(std::string_view tag) {
  std::string attributes;
  bool blank = false;
  for (const char c : tag.substr(4, tag.size() - 5)) {  // between "<svg" and ">"
    if (IsSpace(c)) {
      blank = !attributes.empty();
    } else {
      if (blank) attributes += ' ';
      blank = false;
      attributes += c;
    }
  }
  if (attributes.empty() || attributes.find("--") != std::string::npos ||
      attributes.back() == '-') {
    return {};
  }
  return "<!-- drawing: " + attributes + " -->\n";
}

constexpr std::string_view kRootTag =
    "<svg onload=\"init(evt)\" width=\"735px\" height=\"600px\" "
    "xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\">\n";

// The navigation script; @ZOOM_IN@, @ZOOM_OUT@ and @RESTORE@ are filled in per mode.
constexpr std::string_view kScript = R"js(var svgDocument = null;
var zoomAmt = 0;
var xOffset = 0;
var yOffset = 60;
var scale = 0.8;
var maxScale = 10;
var imageWidth = 742;
var imageHeight = 606;

function init(evt) {
  var target = evt ? evt.target : null;
  svgDocument = (target && target.ownerDocument) ? target.ownerDocument : document;
  zoomAmt = 0;
  xOffset = 0;
  yOffset = 60;
  scale = 0.8;
  maxScale = 10;
  imageWidth = 742;
  imageHeight = 606;
  panRestore();
}

function mapDocument() {
  return svgDocument ? svgDocument : document;
}

// Moves and scales the drawing (group "Pathway") around the centre of the viewport.
function transformMap() {
  var map = mapDocument().getElementById('Pathway');
  if (!map) {
    return;
  }
  var centerX = imageWidth / 2.0;
  var centerY = imageHeight / 2.0;
  var adjustX = (-centerX * (scale - 0.8)) + xOffset;
  var adjustY = (-centerY * (scale - 0.8)) + yOffset;
  map.setAttribute('transform',
                   'translate(' + adjustX + ',' + adjustY + ') ' + 'scale(' + scale + ')');
}

// True when the page framing this drawing offers a function of that name. A page from
// another origin cannot be asked and offers nothing.
function frameOffers(name) {
  try {
    return window.parent && window.parent !== window &&
           typeof window.parent[name] === 'function';
  } catch (e) {
    return false;
  }
}

function click_node(id) {
  if (frameOffers('click_node')) {
    window.parent.click_node(id);
  }
}

function click_relation(id) {
  if (frameOffers('click_relation')) {
    window.parent.click_relation(id);
  }
}

function click_pathway(toId, fromId) {
  if (frameOffers('click_pathway')) {
    window.parent.click_pathway(toId, fromId);
  }
}

// Draws a link red when the framing page says that it leads from the chosen pathway.
function check_interpath(evt, pathid) {
  if (!frameOffers('is_frompath') || !window.parent.is_frompath(pathid)) {
    return;
  }
  var children = evt.target.childNodes;
  for (var i = 0; i < children.length; i++) {
    var child = children[i];
    if (child.nodeType !== 1) {
      continue;
    }
    if (child.localName === 'g' || child.localName === 'polyline') {
      child.setAttribute('style', 'fill:none;stroke:red');
    } else if (child.localName === 'polygon') {
      child.setAttribute('style', 'fill:red;stroke:red');
    }
  }
}

function set_status(msg) {
  var field = mapDocument().getElementById('status_text');
  if (!field || !field.firstChild || field.firstChild.nodeType !== 3) {
    return;
  }
  field.firstChild.nodeValue = (msg === null || msg === undefined || msg === '') ? ' ' : msg;
}

function zoomIn() {
  scale = scale + 0.8;
  if (scale > maxScale) {
    scale = maxScale;
  }
  transformMap();@ZOOM_IN@
}

function zoomOut() {
  scale = scale - 0.8;
  if (scale < 0.8) {
    scale = 0.8;
  }
  transformMap();@ZOOM_OUT@
}

function panUp() {
  yOffset = yOffset + 20;
  transformMap();
}

function panDown() {
  yOffset = yOffset - 20;
  transformMap();
}

function panLeft() {
  xOffset = xOffset + 20;
  transformMap();
}

function panRight() {
  xOffset = xOffset - 20;
  transformMap();
}

function panRestore() {
@RESTORE@
  transformMap();
}

function doHighlight(evt, msg) {
  evt.target.setAttribute('fill', 'rgb(239,24,33)');
  set_status(msg);
}

function resetHighlight(evt) {
  evt.target.setAttribute('fill', 'rgb(99,154,206)');
  set_status(' ');
}
)js";

// Keeps the drawing near the top of the viewport after a zoom in pathway mode.
constexpr std::string_view kZoomInPan = R"(
  // keep the drawing near the top
  for (var i = 0; i < 12; i++) {
    panUp();
  })";
constexpr std::string_view kZoomOutPan = R"(
  // keep the drawing near the top
  for (var i = 0; i < 12; i++) {
    panDown();
  })";
constexpr std::string_view kRestoreMode1 = "  xOffset = 120;\n  yOffset = 150;\n  scale = 0.5;";
constexpr std::string_view kRestoreMode2 = "  xOffset = 0;\n  yOffset = 0;\n  scale = 0.5;";

// The viewport below the bar, and the groups the drawing is placed in.
constexpr std::string_view kViewport =
    "<clipPath id=\"theClip\"><polygon points=\"1 61, 741 61, 741 665, 1 665\"/></clipPath>\n"
    "<rect x=\"0\" y=\"61\" width=\"742\" height=\"606\" fill=\"none\" stroke=\"black\" "
    "stroke-width=\"1\"/>\n"
    "<g style=\"clip-path: url(#theClip);\">\n"
    "<g id=\"Pathway\" transform=\"translate(0,60)\">\n";
constexpr std::string_view kPathwayGroup = "<g id=\"stkecm;CMP_10705\" class=\"graph\"></g>\n";

// The bar: arrows on the left, home and zoom buttons, the status line.
constexpr std::string_view kNavigationBar = R"svg(</g></g>
<!-- navigation controls -->
<g id="navbox">
<rect x="0" y="0" width="742" height="60" fill="rgb(206,207,206)" stroke="black" stroke-width="1"/>
<polygon id="pan_right" points="84,30 70,17 70,43" fill="rgb(99,154,206)" stroke="black" stroke-width="1" onmouseup="panRight()" onmouseover="doHighlight(evt, 'Click to pan to the right')" onmouseout="resetHighlight(evt)"/>
<polygon id="pan_left" points="26,30 40,17 40,43" fill="rgb(99,154,206)" stroke="black" stroke-width="1" onmouseup="panLeft()" onmouseover="doHighlight(evt, 'Click to pan to the left')" onmouseout="resetHighlight(evt)"/>
<polygon id="pan_down" points="55,57 68,44 42,44" fill="rgb(99,154,206)" stroke="black" stroke-width="1" onmouseup="panDown()" onmouseover="doHighlight(evt, 'Click to pan down')" onmouseout="resetHighlight(evt)"/>
<polygon id="pan_up" points="55,3 68,16 42,16" fill="rgb(99,154,206)" stroke="black" stroke-width="1" onmouseup="panUp()" onmouseover="doHighlight(evt, 'Click to pan up')" onmouseout="resetHighlight(evt)"/>
<g id="go_home" onmouseup="panRestore()" onmouseover="doHighlight(evt, 'Click to restore graph to original position')" onmouseout="resetHighlight(evt)">
<rect x="196" y="11" width="26" height="26" rx="3" fill="rgb(99,154,206)" stroke="black" stroke-width="1"/>
<polygon points="200,25 209,16 218,25" fill="white" stroke="black" stroke-width="1" pointer-events="none"/>
<rect x="203" y="25" width="12" height="9" fill="white" stroke="black" stroke-width="1" pointer-events="none"/>
<rect x="207.5" y="29" width="3" height="5" fill="rgb(99,154,206)" pointer-events="none"/>
</g>
<g id="zoom_out" onmouseup="zoomOut()" onmouseover="doHighlight(evt, 'Click to zoom out')" onmouseout="resetHighlight(evt)">
<rect x="240" y="11" width="26" height="26" rx="3" fill="rgb(99,154,206)" stroke="black" stroke-width="1"/>
<rect x="245" y="22.5" width="16" height="3" fill="white" pointer-events="none"/>
</g>
<g id="zoom_in" onmouseup="zoomIn()" onmouseover="doHighlight(evt, 'Click to zoom in')" onmouseout="resetHighlight(evt)">
<rect x="284" y="11" width="26" height="26" rx="3" fill="rgb(99,154,206)" stroke="black" stroke-width="1"/>
<rect x="289" y="22.5" width="16" height="3" fill="white" pointer-events="none"/>
<rect x="295.5" y="16" width="3" height="16" fill="white" pointer-events="none"/>
</g>
<rect x="117" y="40" width="452" height="14" fill="rgb(192,192,192)"/>
<text id="status_text" x="183px" y="48px" style="fill:rgb(0,0,0);font-size:14;font-family:Arial" font-size="14" dominant-baseline="central" pointer-events="none"> </text>
</g>
)svg";

std::string ReplaceAll(std::string text, std::string_view marker, std::string_view value) {
  for (std::size_t pos = text.find(marker); pos != std::string::npos;
       pos = text.find(marker, pos + value.size())) {
    text.replace(pos, marker.size(), value);
  }
  return text;
}

std::string ScriptBlock(int mode) {
  const bool pathway = mode == 2;
  std::string script(kScript);
  script = ReplaceAll(std::move(script), "@ZOOM_IN@", pathway ? kZoomInPan : "");
  script = ReplaceAll(std::move(script), "@ZOOM_OUT@", pathway ? kZoomOutPan : "");
  script = ReplaceAll(std::move(script), "@RESTORE@", pathway ? kRestoreMode2 : kRestoreMode1);

  std::string block = "<script type=\"text/ecmascript\">\n<![CDATA[\n";
  block += script;
  block += "// ]]>\n</script>\n";
  block += kViewport;
  if (pathway) block += kPathwayGroup;
  return block;
}

}  // namespace

#if defined(__SANITIZE_ADDRESS__)
// Leak checking in sanitizer builds: Graphviz 2.42's dot layout loses some of its virtual
// edges on every layout, its configuration loader keeps one block, and fontconfig, pango
// and cairo keep their font caches until the process ends. None of that is ours to free.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libgvc.so\n"
         "leak:libgvplugin_\n"
         "leak:libfontconfig.so\n"
         "leak:libpango\n"
         "leak:libcairo.so\n"
         "leak:libglib-2.0.so\n";
}
#endif

std::string RenderSvg(std::string_view dot) {
  return std::move(Render(dot, {"svg"}).front());
}

std::string RenderJpeg(std::string_view dot) {
  return std::move(Render(dot, {"jpg"}).front());
}

RenderedDrawing RenderSvgAndJpeg(std::string_view dot, Progress& progress) {
  std::vector<std::string> both = Render(dot, {"svg", "jpg"}, &progress);
  return {std::move(both[0]), std::move(both[1])};
}

namespace {

// Renders for `path`; a failure names the file.
template <typename RenderFn>
std::string RenderFor(const std::filesystem::path& path, RenderFn render) {
  try {
    return render();
  } catch (const RenderError& e) {
    throw RenderError(path.string() + ": " + e.what());
  }
}

}  // namespace

void RenderSvgFile(std::string_view dot, const std::filesystem::path& path) {
  WriteFileAtomically(path, RenderFor(path, [&] { return RenderSvg(dot); }));
}

void RenderJpegFile(std::string_view dot, const std::filesystem::path& path) {
  WriteFileAtomically(path, RenderFor(path, [&] { return RenderJpeg(dot); }));
}

std::string AddSvgNavigation(std::string_view svg, int mode) {
  if (mode != 1 && mode != 2) {
    throw std::invalid_argument("navigation mode must be 1 or 2, not " + std::to_string(mode));
  }
  const std::optional<SvgLayout> layout = FindSvgLayout(svg);
  if (!layout) return std::string(svg);

  std::string out;
  out.reserve(svg.size() + 12000);
  out.append(svg.substr(0, layout->tagBegin));
  out += HeaderComment(svg.substr(layout->tagBegin, layout->tagEnd - layout->tagBegin));
  out += kRootTag;
  out += ScriptBlock(mode);
  out.append(svg.substr(layout->tagEnd, layout->drawingEnd - layout->tagEnd));
  out += kNavigationBar;
  out.append(svg.substr(layout->closeBegin));
  return out;
}

}  // namespace tessel
