// Movie playback: a movie file in a child window of the player's system, from the first frame
// to the last, under a message loop of the calling thread's own; Escape or the right button
// ends it early when the caller allows.
#pragma once

#include <cstdint>

#include "sound/movie/movie_system.h"

namespace movie {

struct PlayRequest {
  HWND parent;           // the window that holds the movie
  const char* fileName;  // Shift-JIS
  const RECT* destination;  // the video's rectangle inside the window; null: all of it
  bool allowSkip;
  HWND mainWindow;  // the application's main window; null when there is none
};

// The window's style: child, visible, no play bar, no automatic sizing, no menu, and no error
// box of the window's own (a failed open is shown through the host's one box).
constexpr uint32_t kMovieStyle = 0x5000400E;
// The size of the error text's buffer when the caller gives none.
constexpr uint32_t kErrorTextSize = 512;
constexpr uint32_t kTimerId = 0;
constexpr uint32_t kTimerMilliseconds = 66;
// The loop also leaves when the player stops by itself short of the end, or when the position
// has stood still this long: a damaged movie never keeps the caller.
constexpr uint32_t kStallMilliseconds = 5000;

// 0 when the movie ended or was skipped; 1 on failure, with the reason in `errorText` (at
// most `errorSize` bytes with the terminator).
uint32_t PlayMovie(MovieSystem& system, const PlayRequest& request, char* errorText, uint32_t errorSize);

}  // namespace movie
