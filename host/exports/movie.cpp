#include "host/exports/movie.h"

#include "host/frame/main_frame.h"
#include "sound/movie/movie_player.h"

uint32_t RUNA1_API PlayMCIMovieFile(HWND parent, const char* fileName, RECT* destination, uint32_t, uint32_t,
                                    uint32_t, int32_t allowSkip, char* errorText, uint32_t errorSize) {
  char ownText[movie::kErrorTextSize];
  if (!errorText) {
    errorText = ownText;
    errorSize = movie::kErrorTextSize - 1;
  }
  CMainFrame* frame = CMainFrame::Current();
  movie::PlayRequest request{parent, fileName, destination, allowSkip != 0, frame ? frame->GetSafeHwnd() : nullptr};
  return movie::PlayMovie(movie::movieSystem(), request, errorText, errorSize);
}
