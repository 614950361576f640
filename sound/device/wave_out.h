// The wave output device and the periodic tick that paces the mixer: a record of operations in
// the shape of the system's wave-out and multimedia-timer calls, with backends chosen by name at
// first use (environment variable RUNA1_AUDIO):
//   "winmm"  the system's devices and timer (the product's default);
//   "null"   a silent device on a clock of its own: real time unless a test drives it, so that
//            the mixer's edge cases run natively, deterministically and fast (the native default).
// The mixer above owns threads, queues and positions; a backend only moves bytes and reports.
// Results are the system's MMRESULT codes (0 for success).
#pragma once

#include <cstdint>

#include "base/os/os.h"
#include "base/os/win32_types.h"

#ifndef _WIN32
struct HWAVEOUT__;
using HWAVEOUT = HWAVEOUT__*;
using DWORD_PTR = uintptr_t;

// The buffer record of the system, field for field.
struct WAVEHDR {
  char* lpData;
  DWORD dwBufferLength;
  DWORD dwBytesRecorded;
  DWORD_PTR dwUser;
  DWORD dwFlags;
  DWORD dwLoops;
  WAVEHDR* lpNext;
  DWORD_PTR reserved;
};

#define CALLBACK
#define MM_WOM_DONE 0x3BD
#define WHDR_DONE 0x1u
#define WHDR_PREPARED 0x2u
#define WHDR_INQUEUE 0x10u
#define MMSYSERR_NOERROR 0u
#define MMSYSERR_ERROR 1u
#define MMSYSERR_INVALHANDLE 5u
#define MMSYSERR_INVALPARAM 11u
#define WAVERR_BADFORMAT 32u
#define WAVERR_STILLPLAYING 33u
#define WAVERR_UNPREPARED 34u
#endif

// A device's notice: called with MM_WOM_DONE and the finished WAVEHDR* as param1 (the system's
// waveOutProc), on a thread of the backend's; it must only hand the notice on.
using WaveOutProc = void(CALLBACK*)(HWAVEOUT device, UINT message, DWORD_PTR instance, DWORD_PTR param1,
                                    DWORD_PTR param2);
// A tick of the periodic timer (the system's TIMECALLBACK).
using TimerTickProc = void(CALLBACK*)(UINT timerId, UINT message, DWORD_PTR instance, DWORD_PTR, DWORD_PTR);

struct WaveOutBackend {
  const char* name;
  // Opens the default device for `format`; notices go to `proc` with `instance`.
  uint32_t (*open)(HWAVEOUT* device, const WAVEFORMATEX* format, WaveOutProc proc, DWORD_PTR instance);
  uint32_t (*close)(HWAVEOUT device);
  uint32_t (*prepare)(HWAVEOUT device, WAVEHDR* header);
  uint32_t (*unprepare)(HWAVEOUT device, WAVEHDR* header);
  uint32_t (*write)(HWAVEOUT device, WAVEHDR* header);
  uint32_t (*pause)(HWAVEOUT device);
  uint32_t (*restart)(HWAVEOUT device);
  // Returns every queued buffer with its notice and sets the position back to 0.
  uint32_t (*reset)(HWAVEOUT device);
  // Left volume in the low word, right in the high word, 0 to 0xFFFF each.
  uint32_t (*getVolume)(HWAVEOUT device, uint32_t* volume);
  uint32_t (*setVolume)(HWAVEOUT device, uint32_t volume);
  // Samples played since the open (or the last reset).
  uint32_t (*getPosition)(HWAVEOUT device, uint32_t* samples);
  void (*errorText)(uint32_t error, char* text, uint32_t size);

  // The periodic timer: the shortest period, the period's begin and end, and ticks.
  uint32_t (*timerMinimumPeriod)(uint32_t* milliseconds);
  uint32_t (*beginPeriod)(uint32_t milliseconds);
  uint32_t (*endPeriod)(uint32_t milliseconds);
  // A periodic timer; its id, or 0 when refused.
  uint32_t (*startTimer)(uint32_t period, uint32_t resolution, TimerTickProc proc, DWORD_PTR instance);
  void (*stopTimer)(uint32_t timerId);
  // Milliseconds on the backend's clock.
  uint32_t (*tickCount)();
  // Waits until `event` is set, while the devices play; false after `milliseconds` of the
  // backend's clock without it.
  bool (*waitWhilePlaying)(os::EventHandle event, uint32_t milliseconds);
};

// The backend of this process: RUNA1_AUDIO's, else the first of the list ("winmm" in the
// product, "null" natively). An unknown name gets one trace line and the default.
const WaveOutBackend& waveOutBackend();
// The backend of a name, or null.
const WaveOutBackend* findWaveOutBackend(const char* name);

const WaveOutBackend& nullWaveOutBackend();
#ifdef _WIN32
const WaveOutBackend& winmmWaveOutBackend();
#endif

// The null device's clock. It follows real time until a test takes it over; then it moves only
// by advanceNullAudioClock, one millisecond at a time: devices consume what that millisecond
// holds (and report the buffers they finish), then the timers due tick.
void takeOverNullAudioClock();
void advanceNullAudioClock(uint32_t milliseconds);
// Receives every byte a null device plays, in order, with the device that played it (tests
// listen to what reached the device). Null stops listening.
using NullAudioListener = void (*)(HWAVEOUT device, const uint8_t* bytes, uint32_t count, void* context);
void listenToNullAudio(NullAudioListener listener, void* context);
