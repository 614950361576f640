#include "host/app/zpk_app.h"

#include <memory>

#include "base/library.h"
#include "base/os/os.h"
#include "base/trace.h"
#include "graphics/core/molaq.h"
#include "host/app/command_line.h"
#include "host/display_environment.h"
#include "host/exports/numeric.h"
#include "host/frame/main_frame.h"
#include "host/module/zpk_text.h"
#include "host/module/zpk_thread.h"
#include "sound/device/midi_synth.h"
#include "sound/mixer/mixing_service.h"

namespace {

constexpr uint32_t kCurrentDirectoryLength = 0x3FF;

}  // namespace

std::string debugRecordFileNameOf(const std::string& modulePath, const std::string& moduleDirectory) {
  std::string title = modulePath.substr(directoryOf(modulePath).size());
  size_t stop = title.rfind('.');
  if (stop != std::string::npos) title.erase(stop);
  return moduleDirectory + title + ".drt";
}

CZPKApp::CZPKApp(ModuleDebugger* debugger) : debugger_(debugger) {
  vkInitialize(VK_LIBRARY_VERSION);
  traceFromEnvironment();
  StartHandshake::SetCurrent(&handshake_);
  MessageLoop::SetCurrent(&loop_);
}

CZPKApp::~CZPKApp() {
  MessageLoop::SetCurrent(nullptr);
  StartHandshake::SetCurrent(nullptr);
  vkUninitialize();
}

bool CZPKApp::InitInstance(const os::SystemText& commandLine) {
  debugFlag_ = 0;
  baseDirectoryGiven_ = false;
  refusedCommandLine_ = commandLine.complete ? std::string() : commandLine.text;
  CommandLine line = scanCommandLine(commandLine.complete ? commandLine.text : std::string(), debugger_ != nullptr);
  for (const std::string& text : line.debugLines) os::debugOutput(text.c_str());
  debugFlag_ = line.debug ? 1 : 0;
  moduleFileName_ = line.moduleName;
  baseDirectory_ = line.baseDirectory;
  baseDirectoryGiven_ = line.baseDirectoryGiven;
  debugRecordFileName_ = line.debugRecord;
  return true;
}

// A path that the engine could only name changed is no path: the start ends with a message.
int CZPKApp::RefuseText(const char* what, const std::string& shown) {
  std::string text = std::string(what) + "\x81\x75" + shown + "\x81\x76" + zpk_text::kNotShiftJis;  // 「」
  os::messageBox(text.c_str(), zpk_text::kLoaderCaption, MB_ICONEXCLAMATION);
  return 1;
}

// The session ends before the finaliser runs, so that it runs on the module's own bytes.
void CZPKApp::EndDebugging() {
  if (debugger_) debugger_->End();
}

int CZPKApp::Run() {
  if (!refusedCommandLine_.empty()) return RefuseText(zpk_text::kCommandLine, refusedCommandLine_);
  if (moduleFileName_.empty()) {
    os::SystemText chosen;
    if (!os::chooseFileToOpen(kModuleFilter, ".zpe", OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT, &chosen)) return 0;
    if (!chosen.complete) return RefuseText("", chosen.text);
    moduleFileName_ = chosen.text;
  }
  if (module_.Load(moduleFileName_.c_str()) != CZPKModule::kLoaded) {
    os::messageBox(module_.GetLastErrorMessage(), zpk_text::kLoaderCaption, MB_ICONEXCLAMATION);
    return 0;
  }
  if (debugRecordFileName_.empty())
    debugRecordFileName_ = debugRecordFileNameOf(module_.GetPath(), module_.GetBaseDirectory());
  setMidiSoundFontFolder(directoryOf(module_.GetPath()));
  // The record's name is taken as the command line gave it, before BASEDIR moves elsewhere.
  bool debugging = debugFlag_ && debugger_ && debugger_->Start(module_, debugRecordFileName_);

  if (baseDirectoryGiven_) {
    // A directory that cannot be entered is not reported: the working directory stays.
    os::setCurrentDirectory(baseDirectory_.c_str());
    os::SystemText entered = os::currentDirectory(kCurrentDirectoryLength);
    if (!entered.complete) return RefuseText(zpk_text::kBaseDirectory, entered.text);
    baseDirectory_ = entered.text;
    char separator = !baseDirectory_.empty() && baseDirectory_[0] == '/' ? '/' : '\\';
    if (!baseDirectory_.empty() && baseDirectory_.back() != separator) baseDirectory_ += separator;
    module_.SetBaseDirectory(baseDirectory_.c_str());
  }
  os::setCurrentDirectory(module_.GetBaseDirectory());

  {
    KDisplayEnvironment display;  // gives the display mode and the cursor back at the end
    float_Init();
    // The module's initialiser may have chosen other kernels.
    mqSelectInterface(mqGetInterface(), 0, 0);
    os::WindowSystem& windows = os::windowSystem();
    windows.setPriorityClass(NORMAL_PRIORITY_CLASS);
    auto moduleThread = std::make_unique<CZPKThread>(&module_);
    if (debugging) moduleThread->SetDebugFilter(debugger_->Filter());
    // A module thread that ends without asking for a window, by return or by ExitThread, ends
    // the host at once: the display comes back, then the finaliser runs below.
    if (moduleThread->Start() && handshake_.WaitForRequest(windows, moduleThread->Handle())) {
      auto frame = std::make_unique<CMainFrame>(windows);
      // Abort or Retry on a failed class registration end the host at once.
      if (handshake_.StandUp(*frame, windows) != 0) return 1;
      loop_.Run(windows, moduleThread->Handle());
      frame->StopTimer();
      windows.pumpMessages();  // what is left in the queue before the frame goes
      endMidiSynth();
      theMixingService().Close();  // the module's sounds end before its window and finaliser
      frame.reset();
      moduleThread.reset();
      EndDebugging();
      module_.Delete();  // the finaliser runs on this thread, before the display comes back
    }
  }
  // A module that never asked for a window: its sounds end before its finaliser runs.
  endMidiSynth();
  theMixingService().Close();
  EndDebugging();
  module_.Delete();  // does nothing when it ran above
  return 0;
}
