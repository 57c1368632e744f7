#include "vell/c/handles.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "vell/script/error.h"
#include "vell/terms/operators.h"

namespace vell::c {

namespace {

// The message of this thread's last call without a live handle. A fixed text: nothing to allocate.
thread_local char const* stray_message = "";

}  // namespace

Handles& Handles::all() {
  static Handles* const handles = new Handles;  // never destroyed: other static objects may hold handles
  return *handles;
}

void* Handles::add(std::shared_ptr<Object> object) {
  std::lock_guard const lock(mutex_);
  next_ += 16;
  objects_.emplace(next_, std::move(object));
  return reinterpret_cast<void*>(next_);
}

bool Handles::remove(void const* handle) {
  std::shared_ptr<Object> object;  // dies outside the lock
  std::lock_guard const lock(mutex_);
  auto const found = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
  if (found == objects_.end()) return false;
  object = std::move(found->second);
  objects_.erase(found);
  return true;
}

std::shared_ptr<Object> Handles::find(void const* handle) {
  std::lock_guard const lock(mutex_);
  auto const found = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
  return found == objects_.end() ? nullptr : found->second;
}

Terms::Terms() {
  static std::atomic<std::uint32_t> managers{0};
  number_ = ++managers;
}

vell_term Terms::give(Term_ const* term) {
  if (term->id >= given_.size()) given_.resize(std::max<std::size_t>(term->id + 1, given_.size() * 2));
  given_[term->id] = term;
  return std::uint64_t{number_} << 32 | term->id;
}

Term_ const* Terms::take(vell_term term) const {
  std::uint32_t const id = static_cast<std::uint32_t>(term);
  if (term == 0) throw Failure{VELL_TERM, "0 is no term"};
  if (term >> 32 != number_) throw Failure{VELL_TERM, "a term of another vell_terms"};
  if (id >= given_.size() || given_[id] == nullptr) throw Failure{VELL_TERM, "no term that was handed out"};
  return given_[id];
}

std::vector<Term_ const*> Terms::take(vell_term const* terms, std::size_t count) const {
  if (count != 0) need(terms, "the array of terms");
  std::vector<Term_ const*> out;
  for (std::size_t i = 0; i < count; ++i) out.push_back(take(terms[i]));
  return out;
}

void need(void const* pointer, char const* what) {
  if (pointer == nullptr) throw Failure{VELL_NULL, std::string(what) + " is null"};
}

vell_error refuse(vell_error code, char const* message) noexcept {
  stray_message = message;
  return code;
}

vell_error failed(Object& object) noexcept {
  auto const with = [&](vell_error code, char const* text) noexcept {
    try {
      object.message = text;
    } catch (...) {
      object.message.clear();
    }
    return code;
  };
  try {
    throw;
  } catch (Failure const& f) {
    return with(f.code, f.message.c_str());
  } catch (script::Error const& e) {
    return with(VELL_SCRIPT_ERROR, e.what());
  } catch (script::Stopped const& e) {
    return with(VELL_STOPPED, e.what());
  } catch (SortError const& e) {
    return with(VELL_SORT, e.what());
  } catch (Exception const& e) {
    bool const unsupported = std::strncmp(e.what(), "not supported: ", 15) == 0;
    return with(unsupported ? VELL_UNSUPPORTED : VELL_VALUE, e.what());
  } catch (std::bad_alloc const&) {
    return with(VELL_MEMORY, "out of memory");
  } catch (std::exception const& e) {
    return with(VELL_INTERNAL, e.what());
  } catch (...) {
    return with(VELL_INTERNAL, "an exception of an unknown type");
  }
}

std::shared_ptr<Terms> shared_terms(void const* handle) {
  return std::dynamic_pointer_cast<Terms>(Handles::all().find(handle));
}

char* copied(std::string const& text) {
  char* const out = static_cast<char*>(std::malloc(text.size() + 1));
  if (out == nullptr) throw std::bad_alloc();
  std::memcpy(out, text.c_str(), text.size() + 1);
  return out;
}

}  // namespace vell::c

using namespace vell::c;

char const* vell_message(void const* handle) {
  if (handle == nullptr) return stray_message;
  try {
    std::shared_ptr<Object> const object = Handles::all().find(handle);
    return object == nullptr ? stray_message : object->message.c_str();
  } catch (...) {
    return stray_message;
  }
}

void vell_string_free(char* text) { std::free(text); }
