#pragma once

// One text for everything a clausifier does: trace lines, fresh literals, clauses and questions for an atom's
// literal, in the order in which they happen. Two runs are compared by comparing two strings.
//
//   {n 7}            the fresh literal 7
//   {c 2 -3 7}       a clause
//   {a}              the sink was asked for an atom's literal
//   everything else  trace output

#include <ostream>
#include <streambuf>
#include <string>

#include "vell/terms/clausesink.h"
#include "vell/terms/logger.h"

namespace vell::test {

class EventText : private std::streambuf {
 public:
  // Trace messages of levels 0 to `verbosity` are recorded; none when it is negative.
  explicit EventText(int verbosity) : stream_(this), logger(stream_, verbosity), sink(text) {}

  std::string text;

 private:
  class Sink : public bv::ClauseSink {
   public:
    explicit Sink(std::string& text) : text_(text) {}
    bv::BvLit new_lit() override {
      text_ += "{n " + std::to_string(next) + "}\n";
      return next++;
    }
    bool atom_lit(Term_ const*, bv::BvLit&) override {
      text_ += "{a}\n";
      return false;
    }
    void add_clause() override {
      text_ += "{c";
      for (bv::BvLit const l : lits) text_ += ' ' + std::to_string(l);
      text_ += "}\n";
    }

    bv::BvLit next = 2;

   private:
    std::string& text_;
  };

  int_type overflow(int_type c) override {
    if (c != traits_type::eof()) text.push_back(static_cast<char>(c));
    return c;
  }
  std::streamsize xsputn(char const* s, std::streamsize n) override {
    text.append(s, static_cast<std::size_t>(n));
    return n;
  }

  std::ostream stream_;

 public:
  Logger logger;
  Sink sink;
};

}  // namespace vell::test
