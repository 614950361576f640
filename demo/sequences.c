/* The opening before the title and the staff roll at the story's end: the host's sequences with
 * the game's pictures ("sequence.arc"), the opening's sound and the roll's music
 * ("seqsound.arc"). The right button cuts either short. */
#include "demo_game.h"

#include "demo_layout.h"

typedef int32_t(__stdcall* Sequence)(GRAPHIC target, KARCHIVE images, KARCHIVE music, KARCHIVE sounds);

/* The sequences fade by the tone of their target, and a picture once toned paints from a toned
 * copy of its pixels that may lag behind later drawing: they get a picture of their own. */
static void perform(Sequence sequence, const char* name) {
  KARCHIVE images = KORALArchive_Open("sequence.arc", 1), sounds = KORALArchive_Open("seqsound.arc", 1);
  if (!images) complain("cannot open", "sequence.arc");
  if (!sounds) complain("cannot open", "seqsound.arc");
  RECT whole = {0, 0, DEMO_CLIENT_WIDTH - 1, DEMO_CLIENT_HEIGHT - 1};
  GRAPHIC stage = graphic_CreateBitmap(DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT, 24);
  SCREEN stageScreen = stage ? View_Create(stage, &whole, NULL) : NULL;
  stopMusic();
  if (stageScreen) {
    graphic_DrawFullRectangle(stage, &whole, 0, 0, 0);
    View_DetachAllScreen();
    View_AttachScreen(stageScreen, NULL, 0);
    graphic_InvalidateRect(stage, NULL);
    reportWords("screen", name);
    hostScreenBegins();
    const int32_t cut = sequence(stage, images, sounds, sounds);
    hostScreenEnds();
    View_DetachAllScreen();
    reportWords(name, cut ? "cut" : "played");
  } else {
    complain("cannot make", "the sequences' picture");
  }
  if (stageScreen) View_Delete(stageScreen);
  if (stage) graphic_DeleteBitmap(stage);
  if (images) KORALArchive_Close(images);
  if (sounds) KORALArchive_Close(sounds);
}

void playOpening(void) { perform(Nodali_PerformOpening, "opening"); }

void playStaffRoll(void) { perform(Nodali_PerformEnding, "roll"); }
