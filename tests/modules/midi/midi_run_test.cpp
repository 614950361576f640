// Music under Wine on a machine without a MIDI synthesiser: the module reads a song, playing it
// fails cleanly, and the game runs on to its end.
#include <gtest/gtest.h>

#include "tests/modules/host_run.h"
#include "tests/sound/midi/midi_bytes.h"
#include "tests/temp_dir.h"

namespace {

TEST(MidiRunTest, WithoutAMidiDevicePlayingFailsCleanlyAndTheGameRunsOn) {
  TempDir work;
  TrackBytes track;
  track.at(0, {0x90, 60, 100}).at(0, {0xB0, 0x07, 90}).at(0, {0xF0, 0x00}).at(96, {0x80, 60, 0}).end();
  work.write("song.mid", midiFile(0, {track}, 96));
  work.write("bad.mid", "MThd, or so it says");
  Outcome outcome = runModuleInWork("midi_module", work);
  expectAllPassed(work.read("run.log"), outcome,
                  {"read", "open-gives-the-handle", "play-fails", "play-unlooped-fails", "not-playing", "pause-fails",
                   "restart-fails", "volume", "short-message", "long-message", "stop", "delete", "bad-file-refused",
                   "open-new", "delete-new", "delete-null", "runs-on"});
}

}  // namespace
