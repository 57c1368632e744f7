#pragma once

// A source with windows of bounded size, so that reading can be counted and interrupted.
//
// Tested by tests/io/watchedsource_test.cpp.

#include <algorithm>
#include <memory>

#include "vell/io/source.h"
#include "vell/run/limits.h"
#include "vell/run/statistics.h"

namespace vell::io {

class WatchedSource : public Source {
 public:
  // refill() throws Stopped after an interrupt or when memory runs out. A time limit does not stop reading:
  // commands after an `unknown` may ask for its reason.
  WatchedSource(std::unique_ptr<Source> inner, run::Limits const& limits, run::Statistics& statistics,
                std::size_t window = std::size_t{1} << 20)
      : inner_(std::move(inner)), limits_(limits), statistics_(statistics), window_(window) {
    name_ = inner_->name();
    begin_ = inner_->begin();
    offset_ = inner_->offset();
    size_ = inner_->size();
    show();
  }

  bool refill(char const* keep) override {
    if (limits_.reason() != run::StopReason::timeout) limits_.check();
    offset_ += static_cast<std::uint64_t>(keep - begin_);
    if (end_ == inner_->end()) {
      std::size_t const kept = static_cast<std::size_t>(end_ - keep);
      struct Waiting {
        explicit Waiting(std::atomic<bool>& f) : flag(f) { flag = true; }
        ~Waiting() { flag = false; }
        std::atomic<bool>& flag;
      };
      bool more = false;
      try {
        Waiting const waiting(statistics_.waiting);
        more = inner_->refill(keep);
      } catch (...) {
        // Reading can continue after some errors, so the window is taken from the inner source again.
        begin_ = inner_->begin();
        end_ = inner_->end();
        throw;
      }
      begin_ = inner_->begin();
      end_ = begin_ + kept;
      if (!more) return false;
    } else {
      begin_ = keep;
    }
    show();
    return true;
  }

  Position position(std::uint64_t offset) const override { return inner_->position(offset); }
  std::string_view line_at(std::uint64_t offset) const override { return inner_->line_at(offset); }

 private:
  // Moves end() forward by at most one window.
  void show() {
    char const* const from = end_ == nullptr ? begin_ : end_;
    end_ = from + std::min<std::size_t>(window_, static_cast<std::size_t>(inner_->end() - from));
    statistics_.input_bytes = offset_ + static_cast<std::uint64_t>(end_ - begin_);
  }

  std::unique_ptr<Source> inner_;
  run::Limits const& limits_;
  run::Statistics& statistics_;
  std::size_t window_;
};

}  // namespace vell::io
