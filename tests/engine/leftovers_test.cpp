#include "vell/engine/leftovers.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/engine/scratch.h"
#include "vell/engine/outputfile.h"

namespace vell::engine {
namespace {

pid_t sleeper() {
  return leftovers::start_group([] {
    pid_t const child = fork();
    if (child != 0) {
      setpgid(child, child);
      return child;
    }
    setpgid(0, 0);
    execlp("sleep", "sleep", "1000", nullptr);
    _exit(127);
  });
}

TEST(Leftovers, FilesAndFoldersComeAndGo) {
  test::Scratch scratch;
  std::string file = scratch.file("f-XXXXXX");
  int const fd = leftovers::make_file(file);
  ASSERT_GE(fd, 0);
  close(fd);
  std::string folder = scratch.file("d-XXXXXX");
  ASSERT_TRUE(leftovers::make_folder(folder));
  std::ofstream(folder + "/inside") << "x";
  EXPECT_EQ(2u, scratch.files());
  EXPECT_FALSE(leftovers::keep_file(file, "/no/such/folder/f"));
  EXPECT_TRUE(leftovers::keep_file(file, scratch.file("kept")));
  leftovers::remove_folder(folder);
  EXPECT_EQ(1u, scratch.files());
  EXPECT_EQ("", scratch.read("kept"));
  std::string nowhere = "/no/such/folder/XXXXXX";
  EXPECT_EQ(-1, leftovers::make_file(nowhere));
  EXPECT_FALSE(leftovers::make_folder(nowhere));
}

// In a process of its own, which ends: what is left there is gone, what was kept stays.
TEST(Leftovers, NothingOutlivesTheProcess) {
  test::Scratch scratch;
  std::string const told = scratch.file("child");
  EXPECT_EXIT(
      {
        OutputFile whole(scratch.file("whole"));
        whole.commit();
        OutputFile half(scratch.file("half"));
        half.write("x", 1);
        std::string folder = scratch.file("d-XXXXXX");
        if (!leftovers::make_folder(folder)) _exit(1);
        std::ofstream(folder + "/inside") << "x";
        std::ofstream(told) << sleeper() << std::flush;
        leftovers::discard_all();
        _exit(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(2u, scratch.files());
  EXPECT_TRUE(std::filesystem::exists(scratch.file("whole")));
  pid_t const child = std::stoi(scratch.read("child"));
  ASSERT_GT(child, 0);
  // Its parent has ended: whoever adopted it takes a moment to bury it.
  bool gone = false;
  for (int i = 0; i < 500 && !gone; ++i) {
    std::ifstream status("/proc/" + std::to_string(child) + "/stat");
    std::string text((std::istreambuf_iterator<char>(status)), {});
    gone = text.empty() || text.find(") Z ") != std::string::npos;
    if (!gone) usleep(10000);
  }
  EXPECT_TRUE(gone);
}

TEST(Leftovers, AGroupThatIsForgottenIsLetBe) {
  pid_t const child = sleeper();
  ASSERT_GT(child, 0);
  leftovers::forget_group(child);
  EXPECT_EXIT({ leftovers::discard_all(); _exit(0); }, testing::ExitedWithCode(0), "");
  EXPECT_EQ(0, waitpid(child, nullptr, WNOHANG));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(0, leftovers::start_group([] { return 0; }));
}

}  // namespace
}  // namespace vell::engine
