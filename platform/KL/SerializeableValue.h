#pragma once

#include <stdexcept>
#include <string>

namespace KL {

// The type tags of the host's property values.
inline constexpr int kSerializeableTypeText = 11;
inline constexpr int kSerializeableTypeBool = 12;

// Raised when a property value is read into a value of another type.
class exSerializeableTypeMismatch : public std::runtime_error {
 public:
  exSerializeableTypeMismatch(int stored, int wanted);
  ~exSerializeableTypeMismatch() override;
};

// A typed value of KL::IProperties: a type tag and the value. Only the
// specialisations below exist.
class SerializeableValueBase {
 public:
  virtual ~SerializeableValueBase();
  virtual int GetTypeTag() const = 0;
  // The value as the text a project file holds (UTF-8; "true" / "false").
  virtual std::string ToText() const = 0;
  // Takes the value of `text`, a value of this type written by ToText.
  virtual void FromText(const std::string& text) = 0;

 protected:
  SerializeableValueBase() = default;
  SerializeableValueBase(const SerializeableValueBase&) = default;
  SerializeableValueBase& operator=(const SerializeableValueBase&) = default;
};

template <class T>
class SerializeableValue;

// A text, held as UTF-8 (tag 11).
template <>
class SerializeableValue<std::string> final : public SerializeableValueBase {
 public:
  SerializeableValue() = default;
  explicit SerializeableValue(std::string value) : mValue(std::move(value)) {}
  int GetTypeTag() const override { return kSerializeableTypeText; }
  std::string ToText() const override { return mValue; }
  void FromText(const std::string& text) override { mValue = text; }
  const std::string& Get() const { return mValue; }

 private:
  std::string mValue;
};

// A bool (tag 12).
template <>
class SerializeableValue<bool> final : public SerializeableValueBase {
 public:
  SerializeableValue() = default;
  explicit SerializeableValue(bool value) : mValue(value) {}
  int GetTypeTag() const override { return kSerializeableTypeBool; }
  std::string ToText() const override { return mValue ? "true" : "false"; }
  void FromText(const std::string& text) override { mValue = text == "true"; }
  bool Get() const { return mValue; }

 private:
  bool mValue = false;
};

}  // namespace KL
