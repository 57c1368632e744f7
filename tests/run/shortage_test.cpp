#include "vell/run/shortage.h"

#include <gmp.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <new>

namespace vell::run {
namespace {

// In a process of its own: GMP's functions are the process's, and so is the bound on memory.
template <typename Body>
void with_little_memory(Body body) {
  EXPECT_EXIT(
      {
        prepare_for_shortage();
        rlimit bound{};
        getrlimit(RLIMIT_DATA, &bound);
        bound.rlim_cur = rlim_t{64} << 20;
        setrlimit(RLIMIT_DATA, &bound);
        body();
        _exit(0);
      },
      testing::ExitedWithCode(0), "");
}

#ifndef __SANITIZE_ADDRESS__

// GMP frees the result's limbs before it asks for more.
TEST(Shortage, AProductThatDoesNotFitIsAnException) {
  with_little_memory([] {
    mpz_t a;
    mpz_t r;
    mpz_init(a);
    mpz_init_set_ui(r, 1);
    bool thrown = false;
    try {
      mpz_setbit(a, 200'000'000);  // 25 MB
      for (int i = 0; i < 4; ++i) mpz_mul(r, a, a);
    } catch (std::bad_alloc const&) {
      thrown = true;
    }
    if (!thrown) _exit(1);
    mpz_clear(a);
    mpz_set_ui(r, 7);
    if (mpz_cmp_ui(r, 7) != 0) _exit(2);
    mpz_clear(r);
  });
}

TEST(Shortage, GrowingANumberIsAnException) {
  with_little_memory([] {
    mpz_t a;
    mpz_init_set_ui(a, 5);
    try {
      mpz_setbit(a, 2'000'000'000);
      _exit(1);
    } catch (std::bad_alloc const&) {
    }
    if (mpz_cmp_ui(a, 5) != 0) _exit(2);
    mpz_clear(a);
  });
}

TEST(Shortage, SomethingIsLeftToSaySo) {
  with_little_memory([] {
    try {
      for (mpz_t a;;) mpz_init2(a, 8000);
    } catch (std::bad_alloc const&) {
    }
    for (int i = 0; i < 90; ++i)
      if (std::malloc(1000) == nullptr) _exit(1);
  });
}

#endif

}  // namespace
}  // namespace vell::run
