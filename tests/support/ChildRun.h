#ifndef VERDA_TESTS_CHILD_RUN_H
#define VERDA_TESTS_CHILD_RUN_H

#include <functional>
#include <string>

#include "support/TestLog.h"

// Runs body in a forked child and returns the text it returned. A
// std::runtime_error that leaves body comes back as "runtime_error: " and its
// what(), any other exception as "other exception", and a child that dies as
// "died". Whatever body changes in the process (the environment, the time
// zone) stays in the child.
std::string runInChild(const std::function<std::string()>& body);

// A locale named "rus" (Russian, CP1251) compiled with localedef into a
// temporary directory, to be found through LOCPATH. Nothing outside that
// directory is changed.
class RusLocale {
  public:
    RusLocale();
    bool built() const { return failure_.empty(); }
    const std::string& failure() const { return failure_; }  // why it is not built
    std::string path() const { return dir_.path(); }         // a value for LOCPATH

  private:
    TempDir dir_;
    std::string failure_;
};

#endif
