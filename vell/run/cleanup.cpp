// Each resource is registered before it is created, in memory that is allocated first: nothing exists that
// the registry does not know, even when memory has run out. For the same reason removal allocates nothing.

#include "vell/run/cleanup.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <string_view>

namespace vell::run::cleanup {

namespace {

// Never destroyed, since another thread may use it while the process ends; created without allocating.
struct Registry {
  std::mutex mutex;
  std::set<std::string> files;
  std::map<std::string, int> folders;  // with the descriptor that holds the folder's lock
  std::set<pid_t> groups;
};
Registry& registry() {
  alignas(Registry) static unsigned char room[sizeof(Registry)];
  static Registry* const r = ::new (static_cast<void*>(room)) Registry;
  return *r;
}

// An element that insert() can put into its set without allocating.
template <typename T>
typename std::set<T>::node_type set_aside(T const& value) {
  std::set<T> one;
  one.insert(value);
  return one.extract(one.begin());
}

// The maximum depth of nested folders; deeper ones are not removed.
constexpr int max_depth = 64;

// Removes the contents of an open folder without allocating.
void empty_folder(int folder, int depth) {
  alignas(8) char block[4096];
  for (bool removed = true; removed; removed = removed && lseek(folder, 0, SEEK_SET) == 0) {
    removed = false;
    for (;;) {
      long const n = syscall(SYS_getdents64, folder, block, sizeof block);
      if (n <= 0) break;
      for (long at = 0; at < n;) {
        auto const* const entry = reinterpret_cast<dirent64 const*>(block + at);
        at += entry->d_reclen;
        std::string_view const name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (unlinkat(folder, entry->d_name, 0) == 0) {
          removed = true;
          continue;
        }
        int const inner = openat(folder, entry->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (inner < 0) continue;
        if (depth < max_depth) empty_folder(inner, depth + 1);
        close(inner);
        if (unlinkat(folder, entry->d_name, AT_REMOVEDIR) == 0) removed = true;
      }
    }
  }
}

int open_folder(char const* name) { return open(name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }

// `held` is the folder's descriptor, which is closed with it; negative if there is none.
void remove_tree(std::string const& name, int held) {
  int const folder = held >= 0 ? held : open_folder(name.c_str());
  if (folder >= 0) {
    empty_folder(folder, 0);
    close(folder);
  }
  rmdir(name.c_str());
}

// The start time of a process in clock ticks since the system's start; 0 if the process does not exist.
std::uint64_t start_time(pid_t process) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/%ld/stat", static_cast<long>(process));
  int const fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  char text[1024];
  ssize_t const n = read(fd, text, sizeof text - 1);
  close(fd);
  if (n <= 0) return 0;
  text[n] = '\0';
  // The 22nd field. The second one, the program's name in parentheses, may contain any character.
  char const* at = std::strrchr(text, ')');
  for (int field = 2; at != nullptr && field < 22; ++field) at = std::strchr(at + 1, ' ');
  return at == nullptr ? 0 : std::strtoull(at, nullptr, 10);
}

// Whether a folder's name ("PREFIX-PROCESS-START-XXXXXX") names a process that has ended.
bool names_dead_process(std::string_view name, std::string_view prefix) {
  if (!name.starts_with(prefix) || name.size() == prefix.size() || name[prefix.size()] != '-') return false;
  char const* const end = name.data() + name.size();
  long process = 0;
  auto r = std::from_chars(name.data() + prefix.size() + 1, end, process);
  if (r.ec != std::errc() || r.ptr == end || *r.ptr != '-' || process <= 0) return false;
  std::uint64_t start = 0;
  r = std::from_chars(r.ptr + 1, end, start);
  if (r.ec != std::errc() || r.ptr == end || *r.ptr != '-' || end - r.ptr != 7) return false;
  if (kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH) return true;
  std::uint64_t const present = start_time(static_cast<pid_t>(process));
  return present != 0 && present != start;
}

// Removes folders of processes that were killed. Two conditions must hold: the process with that number and
// start time has ended, and nobody holds the folder's lock, which is released with its process (process
// numbers of another container are different).
void remove_stale_folders(std::string const& base, std::string const& prefix) {
  int const folder = open(base.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  alignas(8) char block[4096];
  for (;;) {
    long const n = syscall(SYS_getdents64, folder, block, sizeof block);
    if (n <= 0) break;
    for (long at = 0; at < n;) {
      auto const* const entry = reinterpret_cast<dirent64 const*>(block + at);
      at += entry->d_reclen;
      if (!names_dead_process(entry->d_name, prefix)) continue;
      int const stale = openat(folder, entry->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (stale < 0) continue;
      struct stat info {};
      if (fstat(stale, &info) == 0 && info.st_uid == geteuid() && flock(stale, LOCK_EX | LOCK_NB) == 0) {
        empty_folder(stale, 0);
        unlinkat(folder, entry->d_name, AT_REMOVEDIR);
      }
      close(stale);
    }
  }
  close(folder);
}

}  // namespace

int make_file(std::string& name) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  auto node = set_aside(name);
  int const fd = mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) return fd;
  node.value() = name;  // as long as before: fits
  r.files.insert(std::move(node));
  return fd;
}

bool make_folder(std::string const& base, std::string const& prefix, std::string& name) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  remove_stale_folders(base, prefix);
  name = base + "/" + prefix + "-" + std::to_string(getpid()) + "-" + std::to_string(start_time(getpid())) +
         "-XXXXXX";
  std::map<std::string, int> one;
  one.emplace(name, -1);
  auto node = one.extract(one.begin());
  if (mkdtemp(name.data()) == nullptr) return false;
  node.key() = name;
  node.mapped() = open_folder(name.c_str());
  if (node.mapped() >= 0) flock(node.mapped(), LOCK_EX | LOCK_NB);
  r.folders.insert(std::move(node));
  return true;
}

bool keep_file(std::string const& name, std::string const& as) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  if (std::rename(name.c_str(), as.c_str()) != 0) return false;
  r.files.erase(name);
  return true;
}

bool keep_folder(std::string const& name, std::string const& as) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  if (std::rename(name.c_str(), as.c_str()) != 0) return false;
  auto const found = r.folders.find(name);
  if (found == r.folders.end()) return true;
  if (found->second >= 0) close(found->second);
  r.folders.erase(found);
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
  auto const found = r.folders.find(name);
  remove_tree(name, found == r.folders.end() ? -1 : found->second);
  if (found != r.folders.end()) r.folders.erase(found);
}

pid_t start_group(std::function<pid_t()> const& start) {
  Registry& r = registry();
  std::lock_guard const lock(r.mutex);
  auto node = set_aside(pid_t{0});
  pid_t const group = start();
  if (group <= 0) return group;
  node.value() = group;
  r.groups.insert(std::move(node));
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
  for (auto const& [name, held] : r.folders) remove_tree(name, held);
}

}  // namespace vell::run::cleanup
