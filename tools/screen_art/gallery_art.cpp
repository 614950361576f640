#include "tools/screen_art/gallery_art.h"

#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>

#include "tools/screen_art/gallery_look.h"

namespace screen_art {

namespace {

constexpr int kTracks = 14;

std::string numbered(const char* pattern, int number) {
  char text[32];
  std::snprintf(text, sizeof text, pattern, number);
  return text;
}

void little(std::string& bytes, uint32_t value, int size) {
  for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
}

void big(std::string& bytes, uint32_t value, int size) {
  for (int i = size - 1; i >= 0; --i) bytes += static_cast<char>(value >> (8 * i));
}

// A RIFF wave of 16-bit mono PCM at 44.1 kHz: a sine tone of peak 0.5.
std::string toneWave(double frequency, int seconds) {
  constexpr uint32_t kRate = 44100;
  uint32_t frames = kRate * seconds, dataBytes = frames * 2;
  std::string bytes = "RIFF";
  little(bytes, 36 + dataBytes, 4);
  bytes += "WAVEfmt ";
  little(bytes, 16, 4);
  little(bytes, 1, 2);  // PCM
  little(bytes, 1, 2);
  little(bytes, kRate, 4);
  little(bytes, kRate * 2, 4);
  little(bytes, 2, 2);
  little(bytes, 16, 2);
  bytes += "data";
  little(bytes, dataBytes, 4);
  for (uint32_t i = 0; i < frames; ++i) {
    double sample = 0.5 * std::sin(2 * std::numbers::pi * frequency * i / kRate);
    little(bytes, static_cast<uint32_t>(static_cast<int32_t>(std::lround(sample * 32767))), 2);
  }
  return bytes;
}

// A standard MIDI file of format 0 that plays `note` for a quarter at 96 ticks a quarter.
std::string noteSong(int note) {
  std::string track;
  track += {0x00, static_cast<char>(0x90), static_cast<char>(note), 100};
  track += {0x60, static_cast<char>(0x80), static_cast<char>(note), 0};
  track += {0x00, static_cast<char>(0xFF), 0x2F, 0x00};
  std::string bytes = "MThd";
  big(bytes, 6, 4);
  big(bytes, 0, 2);
  big(bytes, 1, 2);
  big(bytes, 96, 2);
  bytes += "MTrk";
  big(bytes, static_cast<uint32_t>(track.size()), 4);
  return bytes + track;
}

}  // namespace

void drawMusicMode(ArtSet& set) {
  set.Bitmap("music.bmp", Canvas(640, 480, MUSIC_ART_BACKGROUND_COLOUR));
  set.Bitmap("mpcmon.bmp", Canvas(105, 36, MUSIC_ART_WAVE_COLOUR));
  set.Bitmap("mmidon.bmp", Canvas(105, 36, MUSIC_ART_MIDI_COLOUR));
  set.Bitmap("bralon.bmp", Canvas(13, 31, MUSIC_ART_LEFT_COLOUR));
  set.Bitmap("braron.bmp", Canvas(13, 31, MUSIC_ART_RIGHT_COLOUR));
  set.Bitmap("tumami.bmp", Canvas(MUSIC_ART_KNOB_WIDTH, MUSIC_ART_KNOB_HEIGHT, MUSIC_ART_KNOB_COLOUR));
  for (int track = 0; track < kTracks; ++track)
    set.Bitmap(numbered("m%02d.bmp", track + 1), Canvas(304, 40, MUSIC_ART_TRACK_COLOUR(track)));
}

void writeMusicTracks(ArtSet& set) {
  for (int track = 0; track < kTracks; ++track) {
    if (track == MUSIC_ART_MISSING_TRACK) continue;
    bool broken = track == MUSIC_ART_BROKEN_TRACK;
    set.File(numbered("m%02d.wav", track + 1),
             broken ? "RIFF, or so it says" : toneWave(MUSIC_ART_TRACK_TONE(track), MUSIC_ART_TRACK_SECONDS));
    set.File(numbered("m%02d.mid", track + 1), broken ? "MThd, or so it says" : noteSong(MUSIC_ART_TRACK_NOTE(track)));
  }
}

void drawCGMode(ArtSet& set) {
  set.Bitmap("cg.bmp", Canvas(640, 480, CG_ART_BACKGROUND_COLOUR));
  set.Bitmap("cgboup1.bmp", Canvas(32, 18, CG_ART_PAGE_UP_COLOUR));
  set.Bitmap("cgboup2.bmp", Canvas(32, 14, CG_ART_ROW_UP_COLOUR));
  set.Bitmap("cgbodw1.bmp", Canvas(32, 18, CG_ART_PAGE_DOWN_COLOUR));
  set.Bitmap("cgbodw2.bmp", Canvas(32, 14, CG_ART_ROW_DOWN_COLOUR));
  set.Bitmap("ctuma.bmp", Canvas(CG_ART_KNOB_WIDTH, CG_ART_KNOB_HEIGHT, CG_ART_KNOB_COLOUR));
  set.Bitmap("black.bmp", Canvas(128, 96, CG_ART_BLACK_COLOUR));
  for (int position = 0; position < CG_ART_THUMBNAILS; ++position)
    set.Bitmap(numbered("bg%03d.bmp", 500 + position), Canvas(128, 96, CG_ART_THUMBNAIL_COLOUR(position)));
}

void drawCGPictures(ArtSet& set) {
  auto picture = [&](const char* name, int variant, int width, int height) {
    Canvas canvas(width, height, 0);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) canvas.Fill(Box{x, y, x + 1, y + 1}, CG_ART_PICTURE_COLOUR(variant, x, y));
    set.Bitmap(name, canvas);
  };
  picture("bg5000.bmp", 0, CG_ART_LARGE_WIDTH, CG_ART_LARGE_HEIGHT);
  picture("bg5002.bmp", 2, CG_ART_LARGE_WIDTH, CG_ART_LARGE_HEIGHT);
  picture("bg5010.bmp", 0, CG_ART_SMALL_WIDTH, CG_ART_SMALL_HEIGHT);
}

}  // namespace screen_art
