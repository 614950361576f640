/* Plays music with RUNA1_MIDI=system on a machine without a MIDI device: reading works, playing
 * fails with 1, every other call gives its result for a closed song, and the game goes on. */
#include <windows.h>

#include "../module_log.h"

static const uint8_t kReset[] = {0xF0, 0x7E, 0x7F, 0x09, 0x01, 0xF7};

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  KFILE file = File_OpenFile("song.mid", FILE_READ);
  MIDIMUSIC song = MIDI_ReadMidi(0, file);
  File_CloseFile(file);
  report("read", song != 0);
  report("open-gives-the-handle", MIDI_OpenMidi(song) == song);
  report("play-fails", MIDI_PlayMidi(song, 1) == 1);
  report("play-unlooped-fails", MIDI_PlayMidi(song, 0) == 1);
  report("not-playing", MIDI_IsPlaying(song) == 0);
  report("pause-fails", MIDI_PauseMidi(song) == 1);
  report("restart-fails", MIDI_RestartMidi(song) == 1);
  report("volume", MIDI_SetVolume(song, 0x8000) == 0);
  report("short-message", MIDI_OutShortMsg(song, 0x7F3C90) == 0);
  report("long-message", MIDI_OutLongMsg(song, kReset, sizeof kReset) == 0);
  report("stop", MIDI_StopMidi(song) == 0);
  report("delete", MIDI_Delete(song) == 0);

  KFILE bad = File_OpenFile("bad.mid", FILE_READ);
  report("bad-file-refused", MIDI_ReadMidi(0, bad) == 0);
  File_CloseFile(bad);
  MIDIMUSIC opened = MIDI_OpenMidi(0);
  report("open-new", opened != 0);
  report("delete-new", MIDI_Delete(opened) == 0);
  report("delete-null", MIDI_Delete(0) == 0);
  report("runs-on", 1);
  File_CloseFile(logFile);
  return 0;
}
