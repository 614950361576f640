// The null wave output device: it plays nothing, but consumes its buffers at the rate of their
// format on a clock of its own and reports them as the system's devices do, with positions
// exact to the sample. The clock follows real time (a thread moves it every few milliseconds)
// until a test takes it over and moves it by hand.
#include <algorithm>
#include <chrono>
#include <deque>
#include <vector>

#include "sound/device/wave_out.h"

namespace {

struct NullDevice {
  uint32_t rate, blockAlign;
  WaveOutProc proc;
  DWORD_PTR instance;
  std::deque<WAVEHDR*> queue;
  uint32_t playedOfFirst = 0;  // bytes of the first queued buffer already played
  uint32_t position = 0;
  uint32_t carry = 0;  // rate * milliseconds not yet a whole sample, in thousandths
  bool paused = false;
  uint32_t volume = 0xFFFFFFFF;
};

struct NullTimer {
  uint32_t id, period, due;
  TimerTickProc proc;
  DWORD_PTR instance;
};

struct Clock {
  os::CriticalSection lock;
  std::vector<NullDevice*> devices;
  std::vector<NullTimer> timers;
  uint32_t now = 0;
  uint32_t nextTimerId = 1;
  bool manual = false;
  bool following = false;  // the real-time thread runs
  NullAudioListener listener = nullptr;
  void* listenerContext = nullptr;
};

// Never destroyed: the real-time thread may run until the process ends.
Clock& nullClock() {
  static Clock* instance = new Clock;
  return *instance;
}

uint64_t realMilliseconds() {
  using namespace std::chrono;
  return static_cast<uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

// One millisecond: each playing device consumes its samples and reports the buffers it
// finished, then the timers that are due tick. Called under the clock's lock.
void step(Clock& c) {
  for (NullDevice* d : c.devices) {
    if (d->paused) continue;
    uint32_t samples = (d->rate + d->carry) / 1000;
    d->carry = (d->rate + d->carry) % 1000;
    uint32_t bytes = samples * d->blockAlign;
    while (bytes > 0 && !d->queue.empty()) {
      WAVEHDR* header = d->queue.front();
      uint32_t take = std::min<uint32_t>(bytes, header->dwBufferLength - d->playedOfFirst);
      if (c.listener)
        c.listener(reinterpret_cast<HWAVEOUT>(d), reinterpret_cast<const uint8_t*>(header->lpData) + d->playedOfFirst,
                   take, c.listenerContext);
      d->playedOfFirst += take;
      bytes -= take;
      d->position += take / d->blockAlign;
      if (d->playedOfFirst < header->dwBufferLength) break;
      d->queue.pop_front();
      d->playedOfFirst = 0;
      header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
      d->proc(reinterpret_cast<HWAVEOUT>(d), MM_WOM_DONE, d->instance, reinterpret_cast<DWORD_PTR>(header), 0);
    }
  }
  ++c.now;
  for (size_t i = 0; i < c.timers.size(); ++i) {
    NullTimer& t = c.timers[i];
    if (static_cast<int32_t>(c.now - t.due) < 0) continue;
    t.due += t.period;
    t.proc(t.id, 0, t.instance, 0, 0);
  }
}

void advance(Clock& c, uint32_t milliseconds) {
  os::Lock hold(c.lock);
  for (uint32_t i = 0; i < milliseconds; ++i) step(c);
}

void followRealTime(void*) {
  Clock& c = nullClock();
  os::EventHandle never = os::createEvent(true, false);
  uint64_t last = realMilliseconds();
  for (;;) {
    os::waitEvent(never, 5);
    uint64_t now = realMilliseconds();
    {
      os::Lock hold(c.lock);
      if (c.manual) return;
    }
    advance(c, static_cast<uint32_t>(now - last));
    last = now;
  }
}

// Starts the real-time thread on first use, unless a test has taken the clock.
void startFollowing(Clock& c) {
  if (c.manual || c.following) return;
  c.following = true;
  os::startThread(followRealTime, nullptr);
}

NullDevice* deviceOf(HWAVEOUT device) {
  Clock& c = nullClock();
  for (NullDevice* d : c.devices)
    if (reinterpret_cast<HWAVEOUT>(d) == device) return d;
  return nullptr;
}

#define NULL_DEVICE_OR_FAIL(name)          \
  os::Lock hold(nullClock().lock);             \
  NullDevice* name = deviceOf(device);     \
  if (!name) return MMSYSERR_INVALHANDLE

uint32_t open(HWAVEOUT* device, const WAVEFORMATEX* format, WaveOutProc proc, DWORD_PTR instance) {
  uint32_t bits = format->wBitsPerSample, channels = format->nChannels;
  if (format->wFormatTag != WAVE_FORMAT_PCM || (bits != 8 && bits != 16) || (channels != 1 && channels != 2) ||
      format->nSamplesPerSec == 0 || format->nBlockAlign != channels * bits / 8)
    return WAVERR_BADFORMAT;
  Clock& c = nullClock();
  os::Lock hold(c.lock);
  NullDevice* d = new NullDevice;
  d->rate = format->nSamplesPerSec;
  d->blockAlign = format->nBlockAlign;
  d->proc = proc;
  d->instance = instance;
  c.devices.push_back(d);
  *device = reinterpret_cast<HWAVEOUT>(d);
  startFollowing(c);
  return MMSYSERR_NOERROR;
}

uint32_t close(HWAVEOUT device) {
  NULL_DEVICE_OR_FAIL(d);
  if (!d->queue.empty()) return WAVERR_STILLPLAYING;
  std::erase(nullClock().devices, d);
  delete d;
  return MMSYSERR_NOERROR;
}

uint32_t prepare(HWAVEOUT device, WAVEHDR* header) {
  NULL_DEVICE_OR_FAIL(d);
  header->dwFlags |= WHDR_PREPARED;
  return MMSYSERR_NOERROR;
}

uint32_t unprepare(HWAVEOUT device, WAVEHDR* header) {
  NULL_DEVICE_OR_FAIL(d);
  if (header->dwFlags & WHDR_INQUEUE) return WAVERR_STILLPLAYING;
  header->dwFlags &= ~WHDR_PREPARED;
  return MMSYSERR_NOERROR;
}

uint32_t write(HWAVEOUT device, WAVEHDR* header) {
  NULL_DEVICE_OR_FAIL(d);
  if (!(header->dwFlags & WHDR_PREPARED)) return WAVERR_UNPREPARED;
  header->dwFlags = (header->dwFlags & ~WHDR_DONE) | WHDR_INQUEUE;
  d->queue.push_back(header);
  return MMSYSERR_NOERROR;
}

uint32_t pause(HWAVEOUT device) {
  NULL_DEVICE_OR_FAIL(d);
  d->paused = true;
  return MMSYSERR_NOERROR;
}

uint32_t restart(HWAVEOUT device) {
  NULL_DEVICE_OR_FAIL(d);
  d->paused = false;
  return MMSYSERR_NOERROR;
}

uint32_t reset(HWAVEOUT device) {
  NULL_DEVICE_OR_FAIL(d);
  std::deque<WAVEHDR*> returned;
  returned.swap(d->queue);
  d->playedOfFirst = 0;
  d->position = 0;
  d->paused = false;
  for (WAVEHDR* header : returned) {
    header->dwFlags = (header->dwFlags & ~WHDR_INQUEUE) | WHDR_DONE;
    d->proc(device, MM_WOM_DONE, d->instance, reinterpret_cast<DWORD_PTR>(header), 0);
  }
  return MMSYSERR_NOERROR;
}

uint32_t getVolume(HWAVEOUT device, uint32_t* volume) {
  NULL_DEVICE_OR_FAIL(d);
  *volume = d->volume;
  return MMSYSERR_NOERROR;
}

uint32_t setVolume(HWAVEOUT device, uint32_t volume) {
  NULL_DEVICE_OR_FAIL(d);
  d->volume = volume;
  return MMSYSERR_NOERROR;
}

uint32_t getPosition(HWAVEOUT device, uint32_t* samples) {
  NULL_DEVICE_OR_FAIL(d);
  *samples = d->position;
  return MMSYSERR_NOERROR;
}

void errorText(uint32_t error, char* text, uint32_t size) {
  const char* message = error == MMSYSERR_INVALHANDLE ? "The specified device handle is invalid."
                        : error == WAVERR_STILLPLAYING ? "The buffer is still playing."
                                                       : "The null device refused the call.";
  uint32_t i = 0;
  for (; size > 0 && i + 1 < size && message[i]; ++i) text[i] = message[i];
  if (size > 0) text[i] = 0;
}

uint32_t timerMinimumPeriod(uint32_t* milliseconds) {
  *milliseconds = 1;
  return MMSYSERR_NOERROR;
}

uint32_t startTimer(uint32_t period, uint32_t resolution, TimerTickProc proc, DWORD_PTR instance) {
  Clock& c = nullClock();
  os::Lock hold(c.lock);
  if (period == 0) return 0;
  uint32_t id = c.nextTimerId++;
  c.timers.push_back({id, period, c.now + period, proc, instance});
  startFollowing(c);
  return id;
}

void stopTimer(uint32_t timerId) {
  Clock& c = nullClock();
  os::Lock hold(c.lock);
  std::erase_if(c.timers, [timerId](const NullTimer& t) { return t.id == timerId; });
}

uint32_t tickCount() {
  Clock& c = nullClock();
  os::Lock hold(c.lock);
  return c.manual ? c.now : static_cast<uint32_t>(realMilliseconds());
}

bool waitWhilePlaying(os::EventHandle event, uint32_t milliseconds) {
  Clock& c = nullClock();
  bool manual;
  {
    os::Lock hold(c.lock);
    manual = c.manual;
  }
  if (!manual) return os::waitEvent(event, milliseconds);
  for (uint32_t i = 0; i < milliseconds; ++i) {
    if (os::waitEvent(event, 0)) return true;
    advance(c, 1);
  }
  return os::waitEvent(event, 0);
}

}  // namespace

const WaveOutBackend& nullWaveOutBackend() {
  static const WaveOutBackend backend{
      "null",   open,      close,      prepare,     unprepare,          write,
      pause,    restart,   reset,      getVolume,   setVolume,          getPosition,
      errorText, timerMinimumPeriod, [](uint32_t) -> uint32_t { return MMSYSERR_NOERROR; },
      [](uint32_t) -> uint32_t { return MMSYSERR_NOERROR; }, startTimer, stopTimer, tickCount, waitWhilePlaying,
  };
  return backend;
}

void takeOverNullAudioClock() {
  Clock& c = nullClock();
  os::Lock hold(c.lock);
  c.manual = true;
}

void advanceNullAudioClock(uint32_t milliseconds) { advance(nullClock(), milliseconds); }

void listenToNullAudio(NullAudioListener listener, void* context) {
  Clock& c = nullClock();
  os::Lock hold(c.lock);
  c.listener = listener;
  c.listenerContext = context;
}
