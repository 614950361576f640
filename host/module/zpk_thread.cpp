#include "host/module/zpk_thread.h"

#include "base/library.h"
#include "host/exports/module.h"
#include "host/module/zpk_text.h"

namespace {

constexpr uint32_t kCalleePops = 0;

}  // namespace

CZPKThread::CZPKThread(CZPKModule* module) : module_(module) {}

CZPKThread::~CZPKThread() {
  if (thread_) os::closeThread(thread_);
}

bool CZPKThread::Start() {
  thread_ = os::startThread(&CZPKThread::Entry, this, THREAD_PRIORITY_NORMAL, 0);
  return thread_ != nullptr;
}

bool CZPKThread::IsRunningAfter(uint32_t milliseconds) { return thread_ && os::waitThread(thread_, milliseconds); }

uint32_t CZPKThread::Entry(void* self) { return static_cast<CZPKThread*>(self)->Run(); }

uint32_t CZPKThread::Run() {
  void* startingProc = module_->GetStartingProc();
  if (!startingProc) {
    os::messageBox(zpk_text::kNoStartingProc, zpk_text::kLoaderCaption, MB_ICONEXCLAMATION);
    return 1;
  }
  vkAttachThread();
  os::setCurrentThreadPriority(THREAD_PRIORITY_ABOVE_NORMAL);
  // The handle is what the module passes back for its own resources, procedures and variables.
  uint32_t handle = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(module_));
  if (debugFilter_) vkSetDebugFilter(debugFilter_);
  ZPK_CallProcedure(startingProc, 1, &handle, kCalleePops);
  if (debugFilter_) vkSetDebugFilter(nullptr);
  os::setCurrentThreadPriority(THREAD_PRIORITY_NORMAL);
  vkDetachThread();
  return 0;
}
