// Records what the PulseAudio rig's sink plays, from a test that runs under Wine: the rig's
// recorder (scripts/pulse-record.sh) is started as a Unix program, and its marker files tell
// when it is connected and when the recording is complete. The test runner starts the server
// (scripts/pulse-env.sh) and exports PULSE_SERVER; without it there is nothing to record.
#pragma once

#include <windows.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/modules/unix_command.h"
#include "tests/sound/analysis/audio_analysis.h"

class SinkRecorder {
 public:
  // `script`: the path of pulse-record.sh; `file`: where the raw recording goes (Unix paths).
  SinkRecorder(std::string script, std::string file) : script_(std::move(script)), file_(std::move(file)) {}

  static bool rigRunning() {
    char value[512];
    return GetEnvironmentVariableA("PULSE_SERVER", value, sizeof value) > 0;
  }

  // True once the recorder listens.
  bool start() { return run("start") && waitFor(file_ + ".started"); }
  // True once the recording is complete; it is read into `recording`.
  bool stop(audio::Recording* recording) {
    return run("stop") && waitFor(file_ + ".done") && audio::readRawRecording(file_, recording);
  }

 private:
  bool run(const char* command) {
    std::filesystem::create_directories(std::filesystem::path(file_).parent_path());
    return startUnixCommand("sh '" + script_ + "' " + command + " '" + file_ + "'");
  }
  static bool waitFor(const std::string& marker) {
    for (int i = 0; i < 200; ++i) {
      if (std::filesystem::exists(marker)) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }

  std::string script_, file_;
};
