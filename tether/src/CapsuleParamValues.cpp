#include <tether/CapsuleParamValues.h>

#include <any>
#include <type_traits>

namespace tether {
namespace {

AnyValue ValueToTree(const CapsuleParamValue& value) {
  return std::visit(
      [](const auto& v) -> AnyValue {
        using T = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          return std::make_shared<std::any>();
        } else if constexpr (std::is_same_v<T, std::vector<double>>) {
          AnyArray array;
          for (double number : v) {
            array.push_back(MakeAny(number));
          }
          return MakeAny(std::move(array));
        } else {
          return MakeAny(v);
        }
      },
      value);
}

// Integers of any width the trees hold; nullptr if `any` is no integer.
const int64_t* AsInteger(const std::any& any, int64_t& storage) {
  if (const auto* i = std::any_cast<int>(&any)) {
    storage = *i;
  } else if (const auto* u = std::any_cast<unsigned>(&any)) {
    storage = *u;
  } else if (const auto* i64 = std::any_cast<int64_t>(&any)) {
    storage = *i64;
  } else if (const auto* u64 = std::any_cast<uint64_t>(&any)) {
    storage = static_cast<int64_t>(*u64);
  } else {
    return nullptr;
  }
  return &storage;
}

double TreeToNumber(const AnyValue& element) {
  if (!element) {
    throw std::bad_any_cast();
  }
  int64_t integer = 0;
  if (AsInteger(*element, integer)) {
    return static_cast<double>(integer);
  }
  return std::any_cast<double>(*element);
}

CapsuleParamValue TreeToValue(const AnyValue& tree) {
  if (!tree || !tree->has_value()) {
    return std::monostate{};
  }
  const std::any& any = *tree;
  int64_t integer = 0;
  if (const auto* flag = std::any_cast<bool>(&any)) {
    return *flag;
  }
  if (AsInteger(any, integer)) {
    return integer;
  }
  if (const auto* number = std::any_cast<double>(&any)) {
    return *number;
  }
  if (const auto* text = std::any_cast<std::string>(&any)) {
    return *text;
  }
  const auto& array = std::any_cast<const AnyArray&>(any);
  std::vector<double> numbers;
  numbers.reserve(array.size());
  for (const auto& element : array) {
    numbers.push_back(TreeToNumber(element));
  }
  return numbers;
}

}  // namespace

AnyValue ToJSON(const CapsuleParamValues& values) {
  AnyObject object;
  for (const auto& [key, value] : values.values) {
    object.emplace(key, ValueToTree(value));
  }
  return MakeAny(std::move(object));
}

CapsuleParamValues FromJSON(const AnyValue& tree) {
  CapsuleParamValues result;
  if (!tree || !tree->has_value()) {
    return result;
  }
  for (const auto& [key, value] : std::any_cast<const AnyObject&>(*tree)) {
    result.values.emplace(key, TreeToValue(value));
  }
  return result;
}

}  // namespace tether
