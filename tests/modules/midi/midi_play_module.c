/* Plays a looped song with the engine's own synthesiser, on a machine without a MIDI device:
 * through the mixer when the file "use-mixer" is there, else on a device of the music's own.
 * The volume falls to a half, then the song stops and nothing may sound; with the file
 * "leave-playing" the game ends while it plays. */
#include <windows.h>

#include "../module_log.h"

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  KFILE flag = File_OpenFile("use-mixer", FILE_READ);
  if (flag) {
    File_CloseFile(flag);
    report("mixer-open", WaveMixer_Open(200, 10, 44100, 2, 16) == 0);
  }
  KFILE file = File_OpenFile("song.mid", FILE_READ);
  MIDIMUSIC song = MIDI_ReadMidi(0, file);
  File_CloseFile(file);
  report("read", song != 0);
  /* The stream opens here, so that Wine's first stream has started before the song does. */
  report("open", MIDI_OpenMidi(song) == song);
  Sleep(1500);
  report("play", MIDI_PlayMidi(song, 1) == 0);
  Sleep(3500);
  report("playing", MIDI_IsPlaying(song) == 1);
  report("volume", MIDI_SetVolume(song, 0x8000) == 0);
  Sleep(2300);
  KFILE leave = File_OpenFile("leave-playing", FILE_READ);
  if (leave) {
    /* The game ends with its music playing: the host stops it on its way out. */
    File_CloseFile(leave);
    File_CloseFile(logFile);
    return 0;
  }
  report("stop", MIDI_StopMidi(song) == 0);
  report("stopped", MIDI_IsPlaying(song) == 0);
  Sleep(1000);
  report("delete", MIDI_Delete(song) == 0);
  if (flag) report("mixer-close", WaveMixer_Close() == 0);
  File_CloseFile(logFile);
  return 0;
}
