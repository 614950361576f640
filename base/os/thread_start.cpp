// Threads of a plain entry, on both platforms: the entry runs inside a procedure that ends
// with 0.
#include "base/os/os.h"

namespace os {

namespace {

struct PlainStart {
  ThreadEntry entry;
  void* argument;
};

uint32_t runPlain(void* state) {
  PlainStart start = *static_cast<PlainStart*>(state);
  delete static_cast<PlainStart*>(state);
  start.entry(start.argument);
  return 0;
}

}  // namespace

Thread* startThread(ThreadEntry entry, void* argument) {
  PlainStart* start = new PlainStart{entry, argument};
  Thread* thread = startThread(runPlain, start, THREAD_PRIORITY_NORMAL, 0);
  if (!thread) delete start;
  return thread;
}

}  // namespace os
