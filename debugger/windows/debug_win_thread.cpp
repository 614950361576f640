#include "debugger/windows/debug_win_thread.h"

#include <windows.h>

#include "base/library.h"
#include "debugger/debug_record_file.h"
#include "debugger/windows/debug_frame.h"
#include "debugger/windows/debug_panes.h"

namespace {

constexpr LONG kResume = -1;
constexpr LONG kPassOn = 0;
constexpr uint32_t kTraceFlag = 0x100;
constexpr uint8_t kBreakpoint = 0xCC;
constexpr uint32_t kWaitTurn = 100;
// How long the end waits for a module thread to leave the filter.
constexpr uint32_t kLockPatience = 2000;

std::atomic<CDebugWinThread*> theDebugger{nullptr};

// Takes, translates and dispatches every message waiting for this thread.
void pumpMessages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

}  // namespace

uint32_t Win32ThreadControl::Suspend(uintptr_t thread) {
  DWORD before = SuspendThread(reinterpret_cast<HANDLE>(thread));
  return before == DWORD(-1) ? kFailed : before;
}

uint32_t Win32ThreadControl::Resume(uintptr_t thread) {
  DWORD before = ResumeThread(reinterpret_cast<HANDLE>(thread));
  return before == DWORD(-1) ? kFailed : before;
}

CDebugWinThread::CDebugWinThread() : ready_(os::createEvent(true, false)) {}

CDebugWinThread::~CDebugWinThread() {
  End();
  for (size_t i = 0; i < threadCount_; ++i) CloseHandle(reinterpret_cast<HANDLE>(threads_[i].load()));
  os::closeEvent(ready_);
}

bool CDebugWinThread::Start(CZPKModule& module, const std::string& recordPath) {
  drt::ModuleTables tables{module.GetImageSize(), module.GetProcedureNames(), module.GetProcedureOffsets(),
                           module.GetVariableNames(), module.GetVariableOffsets()};
  drt::DebugRecord record;
  if (!drt::loadDebugRecord(recordPath.c_str(), tables, &record)) return false;
  session_ = std::make_unique<CZPKDebugSession>(std::move(record), module.GetImageBase());
  imageAddress_ = uint32_t(reinterpret_cast<uintptr_t>(module.GetImageBase()));
  hostThreadId_ = GetCurrentThreadId();
  theDebugger = this;
  thread_ = os::startThread(&CDebugWinThread::ThreadEntry, this, THREAD_PRIORITY_NORMAL, 0);
  if (thread_) os::waitEvent(ready_);
  if (!frameUp_) {
    End();
    session_.reset();
    return false;
  }
  return true;
}

void CDebugWinThread::End() {
  if (!thread_) return;
  PostThreadMessageW(os::threadId(thread_), WM_QUIT, 0, 0);
  os::waitThread(thread_, os::kWaitForever);
  os::closeThread(thread_);
  thread_ = nullptr;
}

std::vector<uintptr_t> CDebugWinThread::ModuleThreads() const {
  std::vector<uintptr_t> threads;
  for (size_t i = 0, count = threadCount_.load(); i < count; ++i) threads.push_back(threads_[i]);
  return threads;
}

void CDebugWinThread::WaitForRun() {
  lock_.unlock();
  while (frameUp_ && !runner_.WaitForRun(kWaitTurn)) pumpMessages();
  lock_.lock();
}

void CDebugWinThread::Quit(bool endProcess) {
  forceEnded_ = true;
  endProcess_ = endProcess;
  frameUp_ = false;
  PostQuitMessage(-1);
}

uint32_t CDebugWinThread::ThreadEntry(void* self) {
  auto* debugger = static_cast<CDebugWinThread*>(self);
  vkAttachThread();
  if (debugger->InitInstance()) {
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
      if (TranslateMDISysAccel(debugger->frame_->MdiClient(), &message)) continue;
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
  debugger->ExitInstance();
  vkDetachThread();
  return 0;
}

bool CDebugWinThread::InitInstance() {
  DebugPane::RegisterClass();
  frame_ = std::make_unique<CDbgMDIFrm>(*this);
  if (!frame_->Create()) {
    frame_.reset();
    os::setEvent(ready_);
    return false;
  }
  {
    os::Lock hold(lock_);
    filter_ = std::make_unique<DebugFilter>(session_.get(), imageAddress_, frame_.get());
    session_->SetBreakpoints();
    frameUp_ = true;
  }
  os::setEvent(ready_);
  return true;
}

bool CDebugWinThread::LockAnswering() {
  uint32_t start = os::milliseconds();
  while (!lock_.tryLock()) {
    if (os::milliseconds() - start >= kLockPatience) return false;
    pumpMessages();
    os::sleep(1);
  }
  return true;
}

bool CDebugWinThread::StopModule(bool fromFilter) {
  if (fromFilter) return runner_.Stop(ModuleThreads());
  if (!LockAnswering()) return false;
  bool stopped = runner_.Stop(ModuleThreads());
  lock_.unlock();
  return stopped;
}

void CDebugWinThread::ExitInstance() {
  frameUp_ = false;
  // After Force end every thread of the module stays stopped, a thread stopped inside the
  // filter too: none of them touches the session again.
  bool locked = forceEnded_ ? lock_.tryLock() : LockAnswering();
  if (!locked && !forceEnded_) {
    // A thread stopped inside the filter keeps it: the session stays as it is.
    (void)frame_.release();
    return;
  }
  filter_.reset();
  session_.reset();  // the original bytes go back
  if (locked) lock_.unlock();
  frame_.reset();
  if (!forceEnded_) runner_.Run();  // a stopped module runs on without the debugger
  if (endProcess_) {
    os::debugOutput("runa1: force end before the module's window stood: the process ends\n");
    os::exitProcess(0);
  }
}

// The module's hooks run on the host's main thread too: it is no thread of the module, and a
// Stop leaves it running, so that the host can still end.
void CDebugWinThread::NoteThread() {
  uint32_t id = GetCurrentThreadId();
  if (id == hostThreadId_) return;
  size_t count = threadCount_.load();
  for (size_t i = 0; i < count; ++i)
    if (threadIds_[i] == id) return;
  HANDLE thread;
  if (count == kMostThreads ||
      !DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &thread, 0, FALSE,
                       DUPLICATE_SAME_ACCESS))
    return;
  threads_[count] = reinterpret_cast<uintptr_t>(thread);
  threadIds_[count] = id;
  threadCount_.store(count + 1);
}

LONG CDebugWinThread::AnswerWithoutSession(EXCEPTION_POINTERS* pointers) {
  CONTEXT* context = pointers->ContextRecord;
  switch (pointers->ExceptionRecord->ExceptionCode) {
    case EXCEPTION_SINGLE_STEP:
      context->EFlags &= ~kTraceFlag;
      return kResume;
    case EXCEPTION_BREAKPOINT: {
      // A breakpoint of the session, met just before its byte came back: run the original.
      uint32_t at = uint32_t(reinterpret_cast<uintptr_t>(pointers->ExceptionRecord->ExceptionAddress));
      uint8_t byte;
      if (!os::readMemory(at, &byte, 1) || byte == kBreakpoint) return kPassOn;
      context->Eip = at;
      return kResume;
    }
    default: return kPassOn;
  }
}

LONG WINAPI CDebugWinThread::FilterException(EXCEPTION_POINTERS* pointers) {
  CDebugWinThread* debugger = theDebugger;
  if (!debugger) return AnswerWithoutSession(pointers);
  os::Lock hold(debugger->lock_);
  return debugger->Answer(pointers);
}

LONG CDebugWinThread::Answer(EXCEPTION_POINTERS* pointers) {
  if (!session_ || !filter_ || !frameUp_) return AnswerWithoutSession(pointers);
  NoteThread();
  return filter_->Answer(pointers);
}
