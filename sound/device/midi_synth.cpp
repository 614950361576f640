#include "sound/device/midi_synth.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <deque>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include "base/os/os.h"
#include "base/trace.h"
#include "sound/mixer/sound_channel.h"
#include "sound/synth/synthesizer.h"
#include "sound/wave/mix_kernels.h"

namespace {

// The blocks that circulate through the sound channel: on a device of its own four are queued
// (about 190 ms at 44.1 kHz); a mixed channel pulls the next one whenever it has read one.
constexpr uint32_t kBlockFrames = 2048;
constexpr uint32_t kBlocks = 4;
constexpr uint32_t kOwnDeviceRate = 44100;
// The renderer waits this long at most for the owner to answer a notice (its next block, or the
// volumes of a flagged moment), so that they land at the event's sample.
constexpr uint32_t kAnswerWaitMs = 50;
// A stop waits this long at most for the blocks it hands back to be delivered.
constexpr uint32_t kStopWaitMs = 5000;
// The notice thread looks this often whether the mixer took the channel away (it closes its
// channels when the game opens or closes it), and opens another.
constexpr uint32_t kWatchMs = 100;
constexpr uint32_t kAllSoundOff = 0x78B0;  // controller 120 on channel 0
constexpr uint8_t kGmReset[] = {0xF0, 0x7E, 0x7F, 0x09, 0x01, 0xF7};

// Set at the host's end, before the mixer closes: no channel opens again.
std::atomic<bool> synthEnded{false};

class SynthMidiStream;
// The backend's list of open streams: a stream leaves it when it is deleted.
void forgetStream(SynthMidiStream* stream);

// The stream's sound channel: each block that the mixer (or the device) is done reading brings
// the next.
class SynthSoundChannel : public KSoundChannel {
 public:
  explicit SynthSoundChannel(SynthMidiStream& stream) : stream_(stream) {}
  void OnSourcePlayed(uint32_t user) override;
  bool isOpen() const { return channel_ != nullptr; }
  bool isMixed() const {
    KMixingChannel* channel = channel_;
    return channel && channel->isMixed;
  }

 private:
  SynthMidiStream& stream_;
};

class SynthMidiStream : public MidiStream {
 public:
  SynthMidiStream(const SoundFont& font, uint32_t rate, MidiStreamCallback callback, void* instance)
      : synth_(font, rate), rate_(rate), callback_(callback), instance_(instance), channel_(*this),
        blocks_(kBlocks * kBlockFrames * 2) {}

  // The channel closes first: the mixer may be rendering into the blocks.
  ~SynthMidiStream() override {
    forgetStream(this);
    channel_.CloseOutput();
    os::closeEvent(noticesQueued_);
    os::closeEvent(noticesIdle_);
  }

  // Opens the sound channel, then starts the notice thread; false when either fails.
  bool start() {
    if (!openChannel()) return false;
    noticeThread_ = os::startThread(&NoticeThreadBody, this);
    return noticeThread_ != nullptr;
  }

  uint32_t out(MIDIHDR* header) override {
    os::Lock hold(lock_);
    if (!(header->dwFlags & MHDR_PREPARED)) return MIDIERR_UNPREPARED;
    if (header->dwFlags & MHDR_INQUEUE) return MIDIERR_STILLPLAYING;
    header->dwFlags = (header->dwFlags | MHDR_INQUEUE) & ~MHDR_DONE;
    // An idle stream takes up the new block's time from what has been rendered.
    if (queue_.empty()) lastEventFrame_ = std::max(lastEventFrame_, static_cast<double>(renderedTo_));
    queue_.push_back({header, 0});
    return MMSYSERR_NOERROR;
  }

  uint32_t pause() override {
    os::Lock hold(lock_);
    paused_ = true;
    return MMSYSERR_NOERROR;
  }

  uint32_t restart() override {
    os::Lock hold(lock_);
    paused_ = false;
    return MMSYSERR_NOERROR;
  }

  // The notices go out on the notice thread; a stop asked from a callback (on that thread)
  // leaves them to follow the callback, any other waits for them.
  uint32_t stop() override {
    {
      os::Lock hold(lock_);
      for (const Queued& block : queue_) post(MOM_DONE, block.header, 0);
      queue_.clear();
      for (uint32_t channel = 0; channel < 16; ++channel) synth_.message(kAllSoundOff | channel);
      lastEventFrame_ = static_cast<double>(renderedTo_);
    }
    if (!onNoticeThread()) os::waitEvent(noticesIdle_, kStopWaitMs);
    return MMSYSERR_NOERROR;
  }

  uint32_t setTimeDivision(uint32_t division) override {
    os::Lock hold(lock_);
    division_ = division;
    return MMSYSERR_NOERROR;
  }

  uint32_t tempo(uint32_t* microsecondsPerQuarter) override {
    os::Lock hold(lock_);
    *microsecondsPerQuarter = tempo_;
    return MMSYSERR_NOERROR;
  }

  uint32_t prepareHeader(MIDIHDR* header) override {
    if (!header->lpData || header->dwBufferLength < header->dwBytesRecorded) return MMSYSERR_INVALPARAM;
    header->dwFlags |= MHDR_PREPARED;
    return MMSYSERR_NOERROR;
  }

  uint32_t unprepareHeader(MIDIHDR* header) override {
    if (header->dwFlags & MHDR_INQUEUE) return MIDIERR_STILLPLAYING;
    header->dwFlags &= ~MHDR_PREPARED;
    return MMSYSERR_NOERROR;
  }

  // Takes effect at the sample the renderer has reached: inside a callback, the event's own.
  uint32_t shortMessage(uint32_t message) override {
    os::Lock hold(lock_);
    synth_.message(message);
    return MMSYSERR_NOERROR;
  }

  // From a callback the notice thread finishes the stream once the callback has returned.
  uint32_t close() override {
    {
      os::Lock hold(lock_);
      closed_ = true;
      closedFromCallback_ = onNoticeThread();
      notices_.clear();
      os::setEvent(noticesIdle_);
    }
    os::setEvent(noticesQueued_);
    if (!closedFromCallback_) finish();
    return MMSYSERR_NOERROR;
  }

  // The host's end: the music stops where it is.
  void endChannel() { channel_.CloseOutput(); }

  // On the mixing thread (or inside a write of the channel): renders the next block and writes it.
  void renderNextBlock() {
    int16_t* block;
    uint32_t user;
    {
      os::Lock hold(lock_);
      if (closed_) return;
      user = nextBlock_++;
      block = blocks_.data() + (user % kBlocks) * kBlockFrames * 2;
      std::vector<float> mix(kBlockFrames * 2, 0.0f);
      if (!paused_) render(mix.data());
      for (uint32_t i = 0; i < kBlockFrames * 2; ++i)
        block[i] = static_cast<int16_t>(std::lround(std::clamp(mix[i], -1.0f, 1.0f) * 32767));
    }
    channel_.Write(block, kBlockFrames * 4, user);
  }

 private:
  struct Queued {
    MIDIHDR* header;
    uint32_t offset;
  };
  struct Notice {
    uint32_t message;
    MIDIHDR* header;
    uint32_t offset;  // of a position callback's event
  };

  static void NoticeThreadBody(void* self) { static_cast<SynthMidiStream*>(self)->runNotices(); }

  bool onNoticeThread() const { return noticeThreadId_ == os::currentThreadId(); }

  // Opens the channel in the mix format's rate when the mixer is open (mixed), else on a device
  // of its own, and queues the first blocks. A device of its own is held paused meanwhile, so
  // that no block comes back before all are queued and they stay in order.
  bool openChannel() {
    WAVEFORMATEX format = pcmFormat(2, 16, rate_);
    if (channel_.OpenOutput(&format) != 0) {
      TraceMessage(TraceChannel::midi, "MIDI: the synthesiser's sound channel did not open\n");
      return false;
    }
    if (channel_.isMixed()) {
      renderNextBlock();
      return true;
    }
    channel_.Pause();
    for (uint32_t i = 0; i < kBlocks; ++i) renderNextBlock();
    channel_.Restart();
    return true;
  }

  // Ends the notice thread and deletes the stream (closed_ set).
  void finish() {
    if (!onNoticeThread() && os::waitThread(noticeThread_, kStopWaitMs))
      TraceMessage(TraceChannel::midi, "MIDI: the synthesiser's notice thread did not end\n");
    os::closeThread(noticeThread_);
    delete this;
  }

  void runNotices() {
    noticeThreadId_ = os::currentThreadId();
    for (;;) {
      os::waitEvent(noticesQueued_, kWatchMs);
      lock_.lock();
      while (!notices_.empty() && !closed_) {
        Notice notice = notices_.front();
        notices_.pop_front();
        if (notice.message == MOM_POSITIONCB) notice.header->dwOffset = notice.offset;
        lock_.unlock();
        callback_(this, notice.message, instance_, reinterpret_cast<uintptr_t>(notice.header));
        lock_.lock();
      }
      os::setEvent(noticesIdle_);
      bool closed = closed_;
      lock_.unlock();
      if (closed) break;
      if (!channel_.isOpen() && !synthEnded) openChannel();
    }
    // A close from a callback left the rest to this thread.
    if (closedFromCallback_) finish();
  }

  // Queues a notice for the notice thread (lock_ held). A block handed back is done at once.
  void post(uint32_t message, MIDIHDR* header, uint32_t offset) {
    if (message == MOM_DONE) header->dwFlags = (header->dwFlags & ~MHDR_INQUEUE) | MHDR_DONE;
    notices_.push_back({message, header, offset});
    os::resetEvent(noticesIdle_);
    os::setEvent(noticesQueued_);
  }

  // Lets the notice thread deliver what was posted, and the owner answer, before the renderer
  // goes on (lock_ held once; given up meanwhile).
  void awaitAnswer() {
    lock_.unlock();
    os::waitEvent(noticesIdle_, kAnswerWaitMs);
    lock_.lock();
  }

  double framesPerTick() const { return midiMicrosecondsPerTick(division_, tempo_) * rate_ / 1e6; }

  void play(const MIDIEVENT& event, const MIDIHDR& header, uint32_t offset) {
    uint32_t type = event.dwEvent & 0xFF000000 & ~kMidiEventCallback;
    if (event.dwEvent & kMidiEventLong) {
      uint32_t length = event.dwEvent & 0xFFFFFF;
      const char* bytes = header.lpData + offset + kMidiEventHeaderBytes;
      if (length == sizeof kGmReset && std::equal(kGmReset, kGmReset + sizeof kGmReset, reinterpret_cast<const uint8_t*>(bytes)))
        synth_.reset();
    } else if (type == kMidiEventShort) {
      synth_.message(event.dwEvent & 0xFFFFFF);
    } else if (type == kMidiEventTempo) {
      tempo_ = event.dwEvent & 0xFFFFFF;
    }
  }

  // Renders one block of the stream (lock_ held): the synthesiser runs up to each event's
  // sample, the event plays there, and the notices it brings are answered before going on.
  void render(float* mix) {
    const uint64_t start = renderedTo_, end = start + kBlockFrames;
    auto renderUpTo = [&](uint64_t frame) {
      if (frame <= renderedTo_) return;
      synth_.render(mix + 2 * (renderedTo_ - start), static_cast<uint32_t>(frame - renderedTo_));
      renderedTo_ = frame;
    };
    while (!paused_ && !closed_ && !queue_.empty()) {
      MIDIHDR* header = queue_.front().header;
      uint32_t offset = queue_.front().offset;
      MIDIEVENT event;
      uint32_t size = 0;
      if (!readMidiEvent(*header, offset, &event, &size)) {
        queue_.pop_front();
        post(MOM_DONE, header, 0);
        awaitAnswer();
        continue;
      }
      double due = std::max(lastEventFrame_ + event.dwDeltaTime * framesPerTick(), static_cast<double>(renderedTo_));
      if (due >= static_cast<double>(end)) break;
      renderUpTo(static_cast<uint64_t>(due));
      lastEventFrame_ = due;
      if (size > header->dwBytesRecorded - offset) {  // a long event cut off by the block's end ends the block
        queue_.front().offset = header->dwBytesRecorded;
        continue;
      }
      queue_.front().offset = offset + size;
      play(event, *header, offset);
      if (event.dwEvent & kMidiEventCallback) {
        post(MOM_POSITIONCB, header, offset);
        awaitAnswer();
      }
    }
    renderUpTo(end);
  }

  os::CriticalSection lock_;
  Synthesizer synth_;
  const uint32_t rate_;
  MidiStreamCallback callback_;
  void* instance_;
  SynthSoundChannel channel_;
  std::vector<int16_t> blocks_;
  uint32_t nextBlock_ = 0;
  std::deque<Queued> queue_;
  std::deque<Notice> notices_;
  bool paused_ = true;
  bool closed_ = false;
  std::atomic<bool> closedFromCallback_{false};
  uint32_t division_ = 96;
  uint32_t tempo_ = 500000;
  uint64_t renderedTo_ = 0;  // frames of the stream's clock rendered while it ran
  double lastEventFrame_ = 0;
  os::Thread* noticeThread_ = nullptr;
  std::atomic<uint32_t> noticeThreadId_{0};
  os::EventHandle noticesQueued_ = os::createEvent(false, false);
  os::EventHandle noticesIdle_ = os::createEvent(true, true);
};

void SynthSoundChannel::OnSourcePlayed(uint32_t) { stream_.renderNextBlock(); }

bool endsWithSf2(const std::string& name) {
  if (name.size() < 4) return false;
  std::string tail = name.substr(name.size() - 4);
  std::transform(tail.begin(), tail.end(), tail.begin(), [](unsigned char c) { return std::tolower(c); });
  return tail == ".sf2";
}

class SynthMidiBackend : public MidiBackend {
 public:
  const char* name() const override { return "synth"; }

  uint32_t open(MidiStream** stream, MidiStreamCallback callback, void* instance) override {
    const SoundFont* font = synthEnded ? nullptr : soundFont();
    if (!font) return MMSYSERR_NODRIVER;
    KSoundMixingService& mixer = theMixingService();
    uint32_t rate = mixer.IsOpen() ? mixer.MixFormat().nSamplesPerSec : kOwnDeviceRate;
    auto* opened = new SynthMidiStream(*font, rate, callback, instance);
    {
      os::Lock hold(lock_);
      streams_.push_back(opened);
    }
    if (!opened->start()) {
      delete opened;
      return MMSYSERR_ERROR;
    }
    *stream = opened;
    return MMSYSERR_NOERROR;
  }

  void forget(SynthMidiStream* stream) {
    os::Lock hold(lock_);
    streams_.erase(std::remove(streams_.begin(), streams_.end(), stream), streams_.end());
  }

  void end() {
    synthEnded = true;
    os::Lock hold(lock_);
    for (SynthMidiStream* stream : streams_) stream->endChannel();
  }

  void setFolder(const std::string& folder) {
    os::Lock hold(lock_);
    folder_ = folder;
  }

  std::vector<std::string> candidates() {
    std::vector<std::string> paths;
    std::string chosen = os::environmentVariable("RUNA1_SOUNDFONT");
    if (!chosen.empty()) paths.push_back(chosen);
    std::string folder;
    {
      os::Lock hold(lock_);
      folder = folder_;
    }
    if (!folder.empty()) {
      std::vector<std::string> beside;
      std::error_code error;
      for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        std::string name = entry.path().filename().string();
        if (endsWithSf2(name)) beside.push_back((std::filesystem::path(folder) / name).string());
      }
      std::sort(beside.begin(), beside.end());
      paths.insert(paths.end(), beside.begin(), beside.end());
    }
#ifdef _WIN32
    const char* systemFolder = "Z:\\usr\\share\\sounds\\sf2\\";
#else
    const char* systemFolder = "/usr/share/sounds/sf2/";
#endif
    for (const char* name : {"default-GM.sf2", "TimGM6mb.sf2", "FluidR3_GM.sf2"}) paths.push_back(std::string(systemFolder) + name);
    return paths;
  }

 private:
  // Read once, at the first open.
  const SoundFont* soundFont() {
    os::Lock hold(lock_);
    if (!searched_) font_ = loadFirstSoundFont(candidates());
    searched_ = true;
    return font_.get();
  }

  os::CriticalSection lock_;
  std::string folder_;
  std::vector<SynthMidiStream*> streams_;
  bool searched_ = false;
  std::unique_ptr<SoundFont> font_;
};

}  // namespace

std::unique_ptr<SoundFont> loadFirstSoundFont(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) continue;
    auto font = std::make_unique<SoundFont>();
    std::string why;
    if (font->loadFile(path, &why)) {
      TraceMessage(TraceChannel::midi, "MIDI: the synthesiser plays with %s\n", path.c_str());
      return font;
    }
    os::debugOutput(("runa1: MIDI: the soundfont " + path + " is refused: " + why + "\n").c_str());
  }
  os::debugOutput(
      "runa1: MIDI: no soundfont found (RUNA1_SOUNDFONT, a .sf2 beside the game, /usr/share/sounds/sf2/): "
      "no music\n");
  return nullptr;
}

namespace {

SynthMidiBackend& backend() {
  static SynthMidiBackend instance;
  return instance;
}

void forgetStream(SynthMidiStream* stream) { backend().forget(stream); }

}  // namespace

MidiBackend& synthMidiBackend() { return backend(); }

void setMidiSoundFontFolder(const std::string& folder) { backend().setFolder(folder); }

std::vector<std::string> soundFontCandidates() { return backend().candidates(); }

void endMidiSynth() { backend().end(); }
