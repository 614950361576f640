// The system's wave output devices and multimedia timer.
#include "sound/device/wave_out.h"

namespace {

constexpr UINT kHeaderSize = sizeof(WAVEHDR);

uint32_t open(HWAVEOUT* device, const WAVEFORMATEX* format, WaveOutProc proc, DWORD_PTR instance) {
  return waveOutOpen(device, WAVE_MAPPER, format, reinterpret_cast<DWORD_PTR>(proc), instance, CALLBACK_FUNCTION);
}

uint32_t getVolume(HWAVEOUT device, uint32_t* volume) {
  DWORD value = 0;
  MMRESULT result = waveOutGetVolume(device, &value);
  *volume = value;
  return result;
}

uint32_t getPosition(HWAVEOUT device, uint32_t* samples) {
  MMTIME time{};
  time.wType = TIME_SAMPLES;
  MMRESULT result = waveOutGetPosition(device, &time, sizeof time);
  *samples = time.u.sample;
  return result;
}

void errorText(uint32_t error, char* text, uint32_t size) { waveOutGetErrorTextA(error, text, size); }

uint32_t timerMinimumPeriod(uint32_t* milliseconds) {
  TIMECAPS caps{};
  MMRESULT result = timeGetDevCaps(&caps, sizeof caps);
  *milliseconds = caps.wPeriodMin;
  return result;
}

uint32_t startTimer(uint32_t period, uint32_t resolution, TimerTickProc proc, DWORD_PTR instance) {
  return timeSetEvent(period, resolution, reinterpret_cast<LPTIMECALLBACK>(proc), instance, TIME_PERIODIC);
}

bool waitWhilePlaying(os::EventHandle event, uint32_t milliseconds) { return os::waitEvent(event, milliseconds); }

}  // namespace

const WaveOutBackend& winmmWaveOutBackend() {
  static const WaveOutBackend backend{
      "winmm",
      open,
      [](HWAVEOUT d) -> uint32_t { return waveOutClose(d); },
      [](HWAVEOUT d, WAVEHDR* h) -> uint32_t { return waveOutPrepareHeader(d, h, kHeaderSize); },
      [](HWAVEOUT d, WAVEHDR* h) -> uint32_t { return waveOutUnprepareHeader(d, h, kHeaderSize); },
      [](HWAVEOUT d, WAVEHDR* h) -> uint32_t { return waveOutWrite(d, h, kHeaderSize); },
      [](HWAVEOUT d) -> uint32_t { return waveOutPause(d); },
      [](HWAVEOUT d) -> uint32_t { return waveOutRestart(d); },
      [](HWAVEOUT d) -> uint32_t { return waveOutReset(d); },
      getVolume,
      [](HWAVEOUT d, uint32_t v) -> uint32_t { return waveOutSetVolume(d, v); },
      getPosition,
      errorText,
      timerMinimumPeriod,
      [](uint32_t ms) -> uint32_t { return timeBeginPeriod(ms); },
      [](uint32_t ms) -> uint32_t { return timeEndPeriod(ms); },
      startTimer,
      [](uint32_t id) { timeKillEvent(id); },
      []() -> uint32_t { return timeGetTime(); },
      waitWhilePlaying,
  };
  return backend;
}
