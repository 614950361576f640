/* The bonus menu and its galleries: the CG mode with the game's own pictures, each unlocked once
 * the player has seen it (kept in the profile, section "Gallery"), and the music mode with the
 * game's songs. */
#include "demo_game.h"

#include "demo_layout.h"

enum { BONUS_CG = 0, BONUS_MUSIC = 1 };
/* The CG mode's slider runs from 0 to rows - 4, and its table stands that many rows lower when
 * it is below 0: with five rows the pictures' row stands on top. */
enum { CG_TABLE_POSITIONS = 20 };

/* "CG<position>", the profile entry of a picture's variants seen. */
static void unlockEntry(char* entry, int position) {
  entry[0] = 'C';
  entry[1] = 'G';
  entry[2] = (char)('0' + position);
  entry[3] = 0;
}

void unlockPicture(int position) {
  char entry[4];
  unlockEntry(entry, position);
  if (ZPK_GetProfileInt("Gallery", entry, 0) & 1) return;
  ZPK_WriteProfileInt("Gallery", entry, 1);
  reportLine("unlocked", 1, &position);
}

static KARCHIVE openArchive(const char* name) {
  KARCHIVE archive = KORALArchive_Open(name, 1);
  if (!archive) complain("cannot open", name);
  return archive;
}

static void cgMode(void) {
  static uint32_t flags[CG_TABLE_POSITIONS];
  for (int position = 0; position < DEMO_CG_POSITIONS; ++position) {
    char entry[4];
    unlockEntry(entry, position);
    flags[position] = ZPK_GetProfileInt("Gallery", entry, 0);
  }
  KARCHIVE pictures = openArchive("gallery.arc");
  if (!pictures) return;
  reportWords("screen", "cg");
  hostScreenBegins();
  const int32_t last = Nodali_CGMode(storyCanvas(), pictures, flags, CG_TABLE_POSITIONS);
  hostScreenEnds();
  KORALArchive_Close(pictures);
  reportLine("cg", 1, &last);
}

/* The screen plays the songs itself: the game's music stops while it runs. */
static void musicMode(void) {
  KARCHIVE songs = openArchive("songs.arc");
  if (!songs) return;
  stopMusic();
  reportWords("screen", "tracks");
  hostScreenBegins();
  const int32_t last = Nodali_MusicMode(storyCanvas(), songs);
  hostScreenEnds();
  KORALArchive_Close(songs);
  reportLine("tracks", 1, &last);
  playTitleMusic();
}

void bonusMenu(void) {
  for (;;) {
    showCanvas();
    reportWords("screen", "bonus");
    hostScreenBegins();
    const int32_t choice = Nodali_OmakeSelectMenu(storyCanvas());
    hostScreenEnds();
    reportLine("bonus", 1, &choice);
    if (choice == BONUS_CG) {
      cgMode();
    } else if (choice == BONUS_MUSIC) {
      musicMode();
    } else {
      return;
    }
  }
}
