#include "vell/engine/leftovers.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>

namespace vell::engine::leftovers {

namespace {

// Never destroyed: a thread may ask while the process ends.
struct Registry {
  std::mutex mutex;
  std::set<std::string> files;
  std::set<std::string> folders;
  std::set<pid_t> groups;
};
Registry& registry() {
  static Registry* const r = new Registry;
  return *r;
}

}  // namespace

int make_file(std::string& name) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  int const fd = mkostemp(name.data(), O_CLOEXEC);
  if (fd >= 0) r.files.insert(name);
  return fd;
}

bool make_folder(std::string& name) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  if (mkdtemp(name.data()) == nullptr) return false;
  r.folders.insert(name);
  return true;
}

bool keep_file(std::string const& name, std::string const& as) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  if (std::rename(name.c_str(), as.c_str()) != 0) return false;
  r.files.erase(name);
  return true;
}

void remove_file(std::string const& name) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  unlink(name.c_str());
  r.files.erase(name);
}

void remove_folder(std::string const& name) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  std::error_code ignored;
  std::filesystem::remove_all(name, ignored);
  r.folders.erase(name);
}

pid_t start_group(std::function<pid_t()> const& start) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  pid_t const group = start();
  if (group > 0) r.groups.insert(group);
  return group;
}

void forget_group(pid_t group) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  r.groups.erase(group);
}

void discard_all() {
  Registry& r = registry();
  r.mutex.lock();  // for good
  for (pid_t const group : r.groups) kill(-group, SIGKILL);
  for (std::string const& name : r.files) unlink(name.c_str());
  std::error_code ignored;
  for (std::string const& name : r.folders) std::filesystem::remove_all(name, ignored);
}

}  // namespace vell::engine::leftovers
