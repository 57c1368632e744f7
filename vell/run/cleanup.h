#pragma once

// Resources that must not outlive the process, however it ends: temporary files, temporary folders, child
// processes.
//
// Each is created and registered in one step, so that a thread that ends the process while another one works
// misses none.
//
// Tested by tests/run/cleanup_test.cpp.

#include <sys/types.h>

#include <functional>
#include <string>

namespace vell::run::cleanup {

// Creates a file, open for writing; -1 with errno set if that fails. name ends in XXXXXX, which is replaced.
// If it throws std::bad_alloc, no file exists.
int make_file(std::string& name);
// Creates a folder in `base` whose name begins with `prefix` and identifies this process; false with errno
// set if that fails. Folders of that prefix whose processes were killed are removed first. Throws
// std::bad_alloc.
bool make_folder(std::string const& base, std::string const& prefix, std::string& name);
// Renames a file of make_file() to its final name; false with errno set if that fails.
bool keep_file(std::string const& name, std::string const& as);
// Renames a folder of make_folder() to its final name, where nothing or an empty folder is; false with errno
// set if that fails.
bool keep_folder(std::string const& name, std::string const& as);
// Removes and unregisters the file, or the folder with its contents.
void remove_file(std::string const& name);
void remove_folder(std::string const& name);

// `start` starts a child that leads its own process group, and returns its id, or 0 if that fails. Call
// forget_group() after waiting for the child. Throws std::bad_alloc before anything is started.
pid_t start_group(std::function<pid_t()> const& start);
void forget_group(pid_t group);

// Kills every group and removes every file and folder, from any thread, without allocating. The process is
// about to end: any later call of these functions blocks until then.
void discard_all();

}  // namespace vell::run::cleanup
