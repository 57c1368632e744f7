#include "vell/terms/type.h"

namespace vell {

std::string Type::to_str() const {
  switch (kind_) {
    case Kind::boolean: return "bool";
    case Kind::integer: return "int";
    case Kind::real: return "real";
    case Kind::rounding_mode: return "rm";
    case Kind::bit_vector: return "bv" + std::to_string(a_);
    case Kind::floating_point: return "fp" + std::to_string(a_) + "." + std::to_string(b_);
    case Kind::function: return "fun";
    case Kind::marker: return "marker";
    case Kind::width: return "width" + std::to_string(a_);
    case Kind::format: return "format" + std::to_string(a_) + "." + std::to_string(b_);
  }
  return "?";
}

}  // namespace vell
