// Where a generated page comes from. Every page the program writes names the network file it
// was made from, the command and its settings, the date and the program version, so a page
// found in a folder weeks later still says what it shows. The specified page texts stay as
// they are: the context goes into the page's head (title, character set) and into one line
// placed right after the opening body tag.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace tessel {

struct PageContext {
  std::string network;    // the network's file name, without its folder
  std::string command;    // the command and its settings, e.g. "tessel motifs --kinds fbl3"
  std::string date;       // "2026-11-23 19:40" (local time)
  std::string version;    // the program version
  std::string startPage;  // link from the page to the start page of its folder; may be empty

  // True when nothing is known: such a context adds nothing to a page.
  bool empty() const { return network.empty() && command.empty() && date.empty(); }
  // The same context with another start page link (pages in other folders link elsewhere).
  PageContext linkingTo(std::string start) const;
};

// A context for a run now: the network file's name, the command text, the local date and
// time and this build's version.
PageContext MakePageContext(const std::filesystem::path& network, std::string command);

// The one line shown at the top of every page, with the start page link when there is one:
//   <p class="tessel-context">Network <b>egf.sig</b> &middot; tessel stats &middot; ...</p>
std::string ContextLine(const PageContext& context);

// Returns `page` with a head (UTF-8 character set and `title`, followed by the network's file
// name) and the context line after its opening body tag. A page that already has a head keeps
// it and gains the character set and title. An empty context leaves the page unchanged, so
// pages written without one (tests, derived pages) read exactly as their fixed texts.
std::string WithPageContext(std::string page, const PageContext& context, std::string_view title);

}  // namespace tessel
