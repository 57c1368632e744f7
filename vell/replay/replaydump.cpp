#include "vell/replay/replay.h"

// The state of the clausifier as text.

#include <algorithm>

#include "vell/bv/inspector.h"

namespace vell::replay {

void Replay::hooks(Line&) {
  out_ << "hooks " << bv::WordClausifierInspector(*clausifier_).hooks().size() << '\n';
}

void Replay::dumptrail(Line&) {
  out_ << "trail:";
  for (Term_ const* t : bv::WordClausifierInspector(*clausifier_).trail())
    out_ << ' ' << (t == nullptr ? "|" : t->to_shallow_str());
  out_ << '\n';
}

void Replay::dumptable(Line&) {
  auto const& cache = bv::WordClausifierInspector(*clausifier_).bits_cache();
  out_ << "buckets " << cache.bucket_count() << " size " << cache.size() << '\n';
}

void Replay::dumpcache(Line&) {
  auto const& cache = bv::WordClausifierInspector(*clausifier_).bits_cache();
  for (std::uint64_t b = 0; b < cache.bucket_count(); ++b)
    for (auto const* n = cache.chain(b); n != nullptr; n = n->next) {
      out_ << "node " << b << ' ' << n->key->to_shallow_str() << " =";
      if (n->value != nullptr) write_literals(out_, *n->value);
      out_ << '\n';
    }
}

namespace {

// The chunk sizes follow from the growth rule and the number of chunks.
template <typename Pool>
void write_pool(std::ostream& out, char const* name, Pool const& pool, std::uint64_t first,
                std::uint64_t growth, std::uint64_t max) {
  std::vector<std::uint64_t> chunks;
  std::uint64_t elements = 0;
  for (std::uint64_t size = first; chunks.size() < pool.chunk_count(); size = std::min(size * growth, max)) {
    chunks.push_back(size);
    elements += size;
  }
  out << "pool " << name << " live " << elements - pool.free_count() << " next " << pool.next_chunk_size()
      << " chunks";
  for (std::uint64_t size : chunks) out << ' ' << size;
  out << '\n';
}

}  // namespace

void Replay::dumppools(Line&) {
  bv::WordClausifierInspector const inspector(*clausifier_);
  write_pool(out_, "nodes", inspector.bits_cache().node_pool(), 16, 2, 8192);
  write_pool(out_, "lists", inspector.list_pool(), 1024, 1, 1024);
}

}  // namespace vell::replay
