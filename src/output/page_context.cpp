#include "output/page_context.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <sstream>

#include "util/text.h"

namespace tessel {
namespace {

// The position just after the first tag named `name` (any case, with or without
// attributes), or npos.
std::size_t AfterTag(std::string_view page, std::string_view name) {
  for (std::size_t at = page.find('<'); at != std::string_view::npos; at = page.find('<', at + 1)) {
    const std::string_view rest = page.substr(at + 1);
    if (!StartsWithNoCase(rest, name)) continue;
    const std::size_t after = name.size();
    if (after < rest.size() && rest[after] != '>' && !IsSpace(rest[after])) continue;
    const std::size_t close = page.find('>', at);
    return close == std::string_view::npos ? close : close + 1;
  }
  return std::string_view::npos;
}

}  // namespace

PageContext PageContext::linkingTo(std::string start) const {
  PageContext copy = *this;
  copy.startPage = std::move(start);
  return copy;
}

PageContext MakePageContext(const std::filesystem::path& network, std::string command) {
  PageContext context;
  context.network = network.filename().string();
  context.command = std::move(command);
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
  localtime_r(&now, &local);
  std::ostringstream date;
  date << std::put_time(&local, "%Y-%m-%d %H:%M");
  context.date = date.str();
  context.version = TESSEL_VERSION;
  return context;
}

std::string ContextLine(const PageContext& context) {
  if (context.empty()) return {};
  std::string line = "<p class=\"tessel-context\" style=\"font-size:small;color:#555\">";
  bool first = true;
  const auto separate = [&line, &first] {
    if (!first) line += " &middot; ";
    first = false;
  };
  if (!context.network.empty()) {
    separate();
    line += "Network <b>" + HtmlEscape(context.network) + "</b>";
  }
  if (!context.command.empty()) {
    separate();
    line += "<code>" + HtmlEscape(context.command) + "</code>";
  }
  if (!context.date.empty()) {
    separate();
    line += HtmlEscape(context.date);
  }
  if (!context.version.empty()) {
    separate();
    line += "TESSEL " + HtmlEscape(context.version);
  }
  if (!context.startPage.empty()) {
    separate();
    line += "<a href=\"" + HtmlEscape(context.startPage) + "\">Start page</a>";
  }
  line += "</p>\n";
  return line;
}

std::string WithPageContext(std::string page, const PageContext& context, std::string_view title) {
  if (context.empty()) return page;
  std::string head = "<meta charset=\"utf-8\"><title>" + HtmlEscape(title);
  if (!context.network.empty()) head += " - " + HtmlEscape(context.network);
  head += "</title>";

  std::size_t at = AfterTag(page, "head");
  if (at != std::string::npos) {
    page.insert(at, head);
  } else {
    at = AfterTag(page, "html");
    page.insert(at == std::string::npos ? 0 : at, "<head>" + head + "</head>");
  }
  const std::size_t body = AfterTag(page, "body");
  if (body != std::string::npos) page.insert(body, ContextLine(context));
  return page;
}

}  // namespace tessel
