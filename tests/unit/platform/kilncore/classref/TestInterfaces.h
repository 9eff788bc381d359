#pragma once

#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/classref/Unknown.h>

#include <atomic>
#include <string_view>

// Interfaces and an object that implements two of them, as a host module would
// declare them.
namespace ClassRefTest {

class IAlpha : public kilncore::classref::Unknown {
 public:
  virtual int AlphaValue() const = 0;
};

class IBeta : public kilncore::classref::Unknown {
 public:
  virtual int BetaValue() const = 0;
};

// Implemented by nobody.
class IGamma : public kilncore::classref::Unknown {
 public:
  virtual int GammaValue() const = 0;
};

class AlphaBeta : public IAlpha, public IBeta {
 public:
  explicit AlphaBeta(std::atomic<int>* destroyed = nullptr) : mDestroyed(destroyed) {}
  ~AlphaBeta() override {
    if (mDestroyed != nullptr) ++*mDestroyed;
  }

  int AlphaValue() const override { return 1; }
  int BetaValue() const override { return 2; }

 protected:
  void* QueryMap(const std::string_view& name) override {
    return kilncore::classref::AnswerQuery<AlphaBeta, IAlpha, IBeta>(this, name);
  }

 private:
  std::atomic<int>* mDestroyed;
};

}  // namespace ClassRefTest
