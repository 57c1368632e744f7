#pragma once

// Handles of the C interface: numbers that look like pointers. A table says which object a number stands for,
// so a handle that is freed, invented or of another kind is found out without touching memory. Numbers are
// not used again.
//
// Its test is the C program of tests/c.

#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

#include "vell/c/vell.h"
#include "vell/terms/termmanager.h"

namespace vell::c {

// What a handle stands for.
struct Object {
  virtual ~Object() = default;
  std::string message;  // of the last call with it; "" where that succeeded
};

class Handles {
 public:
  static Handles& all();

  void* add(std::shared_ptr<Object> object);
  // False where there is no such object.
  bool remove(void const* handle);
  std::shared_ptr<Object> find(void const* handle);

 private:
  std::mutex mutex_;
  std::unordered_map<std::uintptr_t, std::shared_ptr<Object>> objects_;
  std::uintptr_t next_ = 0;
};

// The manager behind a vell_terms. It lives as long as an object over it.
struct Terms : Object {
  Terms();

  // The term as it is handed out.
  vell_term give(Term_ const* term);
  // The term behind it; throws Failure where it is not one of this manager's.
  Term_ const* take(vell_term term) const;
  std::vector<Term_ const*> take(vell_term const* terms, std::size_t count) const;

  TermManager manager;

 private:
  std::uint32_t number_;             // of this manager, from 1
  std::vector<Term_ const*> given_;  // by id; null where a term was not handed out
};

// An error with its code, on its way to the border.
struct Failure {
  vell_error code;
  std::string message;
};

// Throws Failure VELL_NULL for a pointer that is null.
void need(void const* pointer, char const* what);

// A message for a handle that is not live, and its code.
vell_error refuse(vell_error code, char const* message) noexcept;
// The code of the exception that is being handled; its text becomes the object's message.
vell_error failed(Object& object) noexcept;

// Calls f with the object of the handle.
template <typename T, typename F>
vell_error call(void const* handle, F f) noexcept {
  if (handle == nullptr) return refuse(VELL_NULL, "the handle is null");
  std::shared_ptr<Object> object;
  try {
    object = Handles::all().find(handle);
  } catch (...) {
    return refuse(VELL_INTERNAL, "the table of handles cannot be locked");
  }
  T* const typed = dynamic_cast<T*>(object.get());
  if (object == nullptr) return refuse(VELL_HANDLE, "the handle is not live");
  if (typed == nullptr) return refuse(VELL_HANDLE, "the handle is of another kind");
  object->message.clear();
  try {
    f(*typed);
    return VELL_OK;
  } catch (...) {
    return failed(*object);
  }
}

// Takes the object of the handle out of the table.
template <typename T>
vell_error release(void const* handle) noexcept {
  if (handle == nullptr) return VELL_OK;
  vell_error const error = call<T>(handle, [](T&) {});
  if (error != VELL_OK) return error;
  try {
    Handles::all().remove(handle);
    return VELL_OK;
  } catch (...) {
    return refuse(VELL_INTERNAL, "the object cannot be freed");
  }
}

// The manager that a handle stands for; only inside call<Terms>().
std::shared_ptr<Terms> shared_terms(void const* handle);

// A copy that vell_string_free() frees.
char* copied(std::string const& text);

// Writes as many elements as there is room for, and their number.
template <typename T>
void copy_out(std::vector<T> const& from, T* to, std::size_t capacity, std::size_t* count) {
  if (capacity != 0) need(to, "the array");
  need(count, "the pointer to the count");
  for (std::size_t i = 0; i < from.size() && i < capacity; ++i) to[i] = from[i];
  *count = from.size();
}

}  // namespace vell::c
