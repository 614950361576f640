/* What the parts of the demo module share: the report, the input the window hooks note, the
 * picture that the story's screens draw into, and the story's steps. */
#ifndef DEMO_GAME_H
#define DEMO_GAME_H

#include <windows.h>

#include <runa1.h>

/* ---- demo.c: the report and the input --------------------------------------------------- */

/* One report line: a word and up to five numbers. */
void reportLine(const char* word, int count, const int* numbers);
/* A report line of two words, e.g. "screen map". */
void reportWords(const char* first, const char* second);
/* Tells the player why the game cannot go on: on the error output and the debug channel. */
void complain(const char* what, const char* name);

/* Presses of Enter, Space or the left button since the last call; and whether Escape or the
 * close box asked the game to end. */
int takeAdvances(void);
int quitRequested(void);
/* Presses of Escape or the right button since the last call: the story's main menu. */
int takeMenuRequests(void);
/* Forgets the input noted so far, when a screen starts. */
void forgetInput(void);
/* The host's own screens (map, menus, save, load) take the input themselves: the hooks step aside
 * while they run, all but the close box's. */
void hostScreenBegins(void);
void hostScreenEnds(void);

/* ---- story.c: the story and its screens --------------------------------------------------- */

/* How far a story has come: what a save file keeps. */
typedef enum StoryStage { STAGE_INTRO = 0, STAGE_PLACE = 1, STAGE_OUTRO = 2 } StoryStage;
typedef struct Progress {
  int32_t stage; /* a StoryStage */
  int32_t place; /* chosen on the map: 0 to DEMO_PLACE_COUNT - 1, or -1 before */
} Progress;

/* Reads the script, the fonts' and the map's pictures, the sounds; opens the mixer and makes
 * the picture of the story's screens. The landscape is the title's. 0 and a complaint on failure. */
int openStory(ZPKMODULE module, GRAPHIC landscape);
void closeStory(void);
/* Plays the story from `progress` to the ending. 0 if the player ended the game on the way. */
int playStory(Progress progress);
/* The load screen and the save file it points at; 0 if the player cancelled or the file is
 * damaged (reported). */
int loadStory(Progress* progress);
/* The title's music: started when the title shows, the song goes on over the map. */
void playTitleMusic(void);
void stopMusic(void);
/* The picture the story's and the host's screens draw into, and showing it in the window. */
GRAPHIC storyCanvas(void);
void showCanvas(void);

/* The start-up menu's buttons, by the ids the screen gives; its quit button gives -1. */
typedef enum StartupChoice {
  START_QUIT = -1,
  START_NEW = 0,
  START_CONTINUE = 1,
  START_SOUND = 2,
  START_BONUS = 3
} StartupChoice;
StartupChoice startupMenu(void);
/* The sound configuration over what the window shows; its values act at once on the music
 * playing, the voice and the message speed. */
void configureSound(void);

/* ---- bonus.c: the bonus menu and its galleries ------------------------------------------- */

/* The CG mode's picture `position` (0 to DEMO_CG_POSITIONS - 1) has been seen. */
void unlockPicture(int position);
/* The bonus menu, the CG and music modes from it, until the player goes back. */
void bonusMenu(void);

/* ---- sequences.c: the opening and the staff roll ------------------------------------------ */

void playOpening(void);
void playStaffRoll(void);

#endif
