#include "debugger/debug_filter.h"

#include <string>

#include "base/fault.h"
#include "base/os/os.h"

namespace {

constexpr uint32_t kTraceFlag = 0x100;
constexpr LONG kResume = -1;
constexpr LONG kPassOn = 0;
// " 関数で停止しました。" and "外部関数で停止しました。"
constexpr const char kStoppedIn[] = " \x8a\xd6\x90\x94\x82\xc5\x92\xe2\x8e\x7e\x82\xb5\x82\xdc\x82\xb5\x82\xbd\x81\x42";
constexpr const char kStoppedOutside[] =
    "\x8a\x4f\x95\x94\x8a\xd6\x90\x94\x82\xc5\x92\xe2\x8e\x7e\x82\xb5\x82\xdc\x82\xb5\x82\xbd\x81\x42";

}  // namespace

int32_t DebugFilter::ProcedureAt(uint32_t eip) const {
  return eip < imageAddress_ ? -1 : session_->ProcedureAtEntry(eip - imageAddress_);
}

bool DebugFilter::ByteBefore(uint32_t eip, uint8_t* byte) const {
  uint32_t at = eip - 1;
  if (at >= imageAddress_ && at - imageAddress_ < session_->ImageSize()) {
    *byte = session_->ImageByte(at - imageAddress_);
    return true;
  }
  return os::readMemory(at, byte, 1);
}

LONG DebugFilter::Answer(EXCEPTION_POINTERS* pointers) {
  uint32_t code = pointers->ExceptionRecord->ExceptionCode;
  CONTEXT* context = pointers->ContextRecord;
  if (code != VK_EXCEPTION_SINGLE_STEP) {
    session_->SaveContext(*context);
    frame_->RegistersChanged();
  }
  if (rearm_ >= 0) {
    // Unless the module stands at this very entry again, its breakpoint goes back.
    int32_t procedure = rearm_;
    rearm_ = -1;
    uint32_t at = code == VK_EXCEPTION_BREAKPOINT ? context->Eip - 1 : context->Eip;
    if (ProcedureAt(at) != procedure) session_->ArmBreakpoint(procedure);
  }
  if (code == VK_EXCEPTION_SINGLE_STEP) {
    context->EFlags &= ~kTraceFlag;
    return kResume;
  }
  if (code != VK_EXCEPTION_BREAKPOINT) return kPassOn;
  uint8_t before;
  if (ByteBefore(context->Eip, &before) && before == CZPKDebugSession::kBreakpoint) --context->Eip;
  int32_t procedure = ProcedureAt(context->Eip);
  if (procedure >= 0) {
    session_->NoteCall(procedure);
    frame_->HistoryChanged();
    rearm_ = procedure;
    session_->DisarmBreakpoint(procedure);
    context->EFlags |= kTraceFlag;
    if (!session_->StopsAt(procedure)) return kResume;
  }
  return StopAt(procedure);
}

LONG DebugFilter::StopAt(int32_t procedure) {
  std::string text = kStoppedOutside;
  if (procedure >= 0) {
    const std::string& name = session_->ProcedureName(procedure);
    frame_->ShowSourceOf(name);
    text = name + kStoppedIn;
  }
  frame_->ShowStop(text.c_str());
  frame_->Stop();
  frame_->WaitForRun();
  if (procedure >= 0) return kResume;
  frame_->ForceEnd();
  return kPassOn;
}
