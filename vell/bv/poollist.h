#pragma once

#include <utility>

#include "vell/terms/literal.h"
#include "vell/utils/objectpool.h"

namespace vell::bv {

// A list of the pool with an owner: back to the pool at the end of the scope, also when a sink throws, unless
// it was handed on with detach().
class PoolList {
 public:
  using Pool = ObjectPool<BvLitList, false>;

  PoolList(Pool& pool, BvLitList* list) : pool_(&pool), list_(list) {}
  PoolList(Pool& pool, std::size_t n) : PoolList(pool, pool.alloc(n)) {}
  PoolList(PoolList&& other) noexcept : pool_(other.pool_), list_(other.detach()) {}
  PoolList& operator=(PoolList&& other) noexcept {
    reset(other.detach());
    return *this;
  }
  ~PoolList() { reset(nullptr); }

  BvLitList* get() const { return list_; }
  BvLitList* operator->() const { return list_; }
  BvLitList& operator*() const { return *list_; }
  BvLit& operator[](std::size_t i) const { return (*list_)[i]; }

  BvLitList* detach() { return std::exchange(list_, nullptr); }
  void reset(BvLitList* list) {
    if (list_ != nullptr) pool_->release(list_);
    list_ = list;
  }

 private:
  Pool* pool_;
  BvLitList* list_;
};

}  // namespace vell::bv
