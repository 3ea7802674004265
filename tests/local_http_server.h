// A web server on 127.0.0.1 for the download tests: fixed answers, a slow route, and an
// efetch stand-in serving the six sample PubMed records and recording each request.
#pragma once

#include <httplib.h>
#include <pugixml.hpp>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "test_support.h"

namespace tessel::test {

class LocalHttpServer {
 public:
  using Clock = std::chrono::steady_clock;
  struct Request {
    Clock::time_point time;
    std::string agent;
    httplib::Params params;
  };

  LocalHttpServer() {
    pugi::xml_document doc;
    const auto records = DataDir() / "pubmed" / "jds_efetch_pubmed_xml_6records.xml";
    if (!doc.load_file(records.c_str())) {
      throw std::runtime_error("cannot read " + records.string());
    }
    for (pugi::xml_node article : doc.child("PubmedArticleSet").children("PubmedArticle")) {
      std::ostringstream out;
      article.print(out, "", pugi::format_raw);
      records_[article.child("MedlineCitation").child_value("PMID")] = out.str();
    }
    const auto text = [](std::string body, int status = 200) {
      return [=](const httplib::Request&, httplib::Response& res) {
        res.status = status;
        res.set_content(body, "text/plain");
      };
    };
    server_.Get("/plain", text("hello"));
    server_.Get("/missing", text("no such page", 404));
    server_.Get("/large", text(std::string(100'000, 'x')));
    server_.Get("/garbage/efetch.fcgi", text("<html><body>busy"));
    server_.Get("/networks/signor_lbc.sig",
                text(ReadFile(DataDir() / "networks" / "signor_lbc.sig")));
    server_.Get("/redirect", [](const auto&, auto& res) { res.set_redirect("/plain"); });
    server_.Get("/slow", [this](const auto&, auto& res) {
      for (int i = 0; i < 300 && !stopping_; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
      res.set_content("late", "text/plain");
    });
    server_.Get("/eutils/efetch.fcgi", [this](const httplib::Request& req, auto& res) {
      std::lock_guard lock(mutex_);
      requests_.push_back({Clock::now(), req.get_header_value("User-Agent"), req.params});
      std::string body = "<?xml version=\"1.0\"?>\n<PubmedArticleSet>";
      std::istringstream ids(req.get_param_value("id"));
      for (std::string id; std::getline(ids, id, ',');) {
        if (records_.contains(id)) body += records_[id];
      }
      res.set_content(body + "</PubmedArticleSet>", "text/xml");
    });
    port_ = server_.bind_to_any_port("127.0.0.1");
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    // stop() does nothing until the accept loop runs, so wait for it.
    while (!server_.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

  ~LocalHttpServer() {
    stopping_ = true;
    server_.stop();
    thread_.join();
  }

  std::string url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
  }
  std::vector<Request> requests() const {  // to /eutils/efetch.fcgi
    std::lock_guard lock(mutex_);
    return requests_;
  }
  std::vector<PubmedId> recordIds() const {
    std::vector<PubmedId> ids;
    for (const auto& [id, record] : records_) ids.push_back(std::stoll(id));
    return ids;
  }

 private:
  httplib::Server server_;
  std::thread thread_;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  std::map<std::string, std::string> records_;
  mutable std::mutex mutex_;
  std::vector<Request> requests_;
};

}  // namespace tessel::test
