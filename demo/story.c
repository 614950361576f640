/* The demo's story: the scene script walked entry by entry in a ruled text window over the
 * landscape, each entry voiced; the map scene; the save and load screens with the game's save
 * files; the ending; and the music and sounds behind them. */
#include "demo_game.h"

#include "demo_layout.h"

enum {
  MAX_ENTRIES = 32,
  SCRIPT_BYTES = 8192,
  SAVE_FILE_BYTES = 12424, /* the screens read up to the kind word at 12360 */
  SAVE_KIND_OFFSET = 12360,
  SAVE_STATE_OFFSET = 12, /* the game's own words: magic, stage, place */
  SAVE_MAGIC = 0x4F4D4544, /* "DEMO" */
  SAVE_PAGE = 1,
  REVEAL_TICK_MS = 40,
};

/* The configuration's profile values and their defaults. */
static uint32_t configValue(const char* entry, uint32_t defaultValue, uint32_t highest) {
  uint32_t value = ZPK_GetProfileInt("Config", entry, defaultValue);
  return value > highest ? highest : value;
}

/* A volume step 0 to 8 as a gain: 0xFFFF at 8, halving at each step down. */
static uint32_t stepVolume(uint32_t step) { return 0xFFFFu >> (8 - step); }

/* ---- The script ---------------------------------------------------------------------------- */

typedef struct Entry {
  const char* part;
  const char* text; /* Shift-JIS */
} Entry;

static char script[SCRIPT_BYTES + 1];
static Entry entries[MAX_ENTRIES];
static int entryCount;

/* Splits the script in place into entries, "part<TAB>text" a line. 0 for a line without a tab,
 * an empty text or too many entries. */
static int parseScript(uint32_t length) {
  script[length] = 0;
  char* at = script;
  while (*at) {
    char* line = at;
    while (*at && *at != '\n') ++at;
    if (*at) *at++ = 0;
    char* end = line;
    while (*end) ++end;
    if (end > line && end[-1] == '\r') end[-1] = 0;
    if (!*line) continue;
    char* tab = line;
    while (*tab && *tab != '\t') ++tab;
    if (!*tab || !tab[1] || entryCount == MAX_ENTRIES) return 0;
    *tab = 0;
    entries[entryCount].part = line;
    entries[entryCount].text = tab + 1;
    ++entryCount;
  }
  return entryCount > 0;
}

static int readScript(void) {
  KFILE file = File_OpenFile("scene.sjis", FILE_READ);
  if (!file) return 0;
  uint32_t length = File_Read(file, script, SCRIPT_BYTES + 1);
  File_CloseFile(file);
  return length <= SCRIPT_BYTES && parseScript(length);
}

static int sameText(const char* a, const char* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

/* ---- Sounds and music ---------------------------------------------------------------------- */

static KPCMSOUND chime, blip, voice;
static MIDIMUSIC midiSong;
static KPCMSOUND waveSong;
static char songPlaying[24]; /* the song's name without its extension, empty when quiet */

static KPCMSOUND readWave(const char* name) {
  KFILE file = File_OpenFile(name, FILE_READ);
  if (!file) return NULL;
  KPCMSOUND sound = PCM_ReadWave(file);
  File_CloseFile(file);
  return sound;
}

static void playEffect(KPCMSOUND sound) {
  if (!sound) return;
  PCM_StopWave(sound);
  PCM_PlayWave(sound, 0, NULL);
}

void stopMusic(void) {
  songPlaying[0] = 0;
  if (midiSong) {
    MIDI_StopMidi(midiSong);
    MIDI_Delete(midiSong);
    midiSong = NULL;
  }
  if (waveSong) {
    PCM_StopWave(waveSong);
    PCM_Delete(waveSong);
    waveSong = NULL;
  }
}

static int midiChosen(void) {
  return ZPK_GetProfileInt("Config", "BgmSelection", 1) != 0 || ZPK_GetProfileInt("Installed", "WaveBGMFile", 0) == 0;
}

/* MIDI when the configuration chooses it and a device plays it; else the song's rendering. */
static void playMusic(const char* song) {
  char name[32];
  int length = 0;
  for (const char* c = song; *c && length < 20; ++c) name[length++] = *c;
  stopMusic();
  for (int i = 0; i <= length; ++i) songPlaying[i] = i < length ? name[i] : 0;
  const uint32_t volume = stepVolume(configValue("VolumeOfBGM", 8, 8));
  if (midiChosen()) {
    for (const char* c = ".mid"; *c; ++c) name[length++] = *c;
    name[length] = 0;
    KFILE file = File_OpenFile(name, FILE_READ);
    midiSong = file ? MIDI_ReadMidi(NULL, file) : NULL;
    if (file) File_CloseFile(file);
    if (midiSong) {
      MIDI_SetVolume(midiSong, volume);
      if (MIDI_PlayMidi(midiSong, 1) == 0) {
        reportWords("music midi", song);
        return;
      }
      MIDI_Delete(midiSong);
      midiSong = NULL;
    }
    length -= 4;
  }
  for (const char* c = ".wav"; *c; ++c) name[length++] = *c;
  name[length] = 0;
  if (!(waveSong = readWave(name))) {
    complain("cannot read", name);
    songPlaying[0] = 0;
    return;
  }
  PCM_SetVolume(waveSong, volume, volume);
  PCM_PlayMusic(waveSong, 0, 1, NULL);
  reportWords("music wave", song);
}

void playTitleMusic(void) { playMusic("title"); }

/* The voice of entry `index`, at the configured voice volume. */
static void speak(int index) {
  char name[] = "voice00.wav";
  name[5] = (char)('0' + index / 10 % 10);
  name[6] = (char)('0' + index % 10);
  if (voice) {
    PCM_StopWave(voice);
    PCM_Delete(voice);
  }
  if (!(voice = readWave(name))) return;
  const uint32_t volume = stepVolume(configValue("VolumeOfVoice", 8, 8));
  PCM_SetVolume(voice, volume, volume);
  PCM_PlayWave(voice, 0, NULL);
  reportLine("voice", 1, &index);
}

/* ---- The story's screens ------------------------------------------------------------------- */

/* The backdrop keeps what the canvas showed while a menu draws over it. */
static GRAPHIC landscape, ending, labels[DEMO_PLACE_COUNT], canvas, backdrop;
static SCREEN canvasScreen;
static HFONT font;

/* The canvas, a picture of the client area's size, is what the window shows of the story. */
void showCanvas(void) {
  View_DetachAllScreen();
  View_AttachScreen(canvasScreen, NULL, 0);
  graphic_InvalidateRect(canvas, NULL);
}

GRAPHIC storyCanvas(void) { return canvas; }

static void keepCanvas(void) { graphic_DrawBitmapToBitmap(canvas, backdrop, 0, 0, NULL, 0, 0); }

static void restoreCanvas(void) {
  graphic_DrawBitmapToBitmap(backdrop, canvas, 0, 0, NULL, 0, 0);
  showCanvas();
}

/* The landscape around `place`'s point, or the title's view before a place is chosen. */
static void drawBackground(int place) {
  ImageInfo info;
  info.size = sizeof info;
  graphic_GetImageInfo(landscape, &info);
  int x, y;
  demoSceneCorner(place, info.width, info.height, &x, &y);
  RECT area = {x, y, x + DEMO_CLIENT_WIDTH - 1, y + DEMO_CLIENT_HEIGHT - 1};
  graphic_DrawBitmapToBitmap(landscape, canvas, 0, 0, &area, 0, 0);
}

/* The text window with its rules, and the first `bytes` bytes of `text` in it. */
static void drawTextWindow(const char* text, uint32_t bytes) {
  static char shown[SCRIPT_BYTES + 1];
  RECT plate = {DEMO_WINDOW_LEFT, DEMO_WINDOW_TOP, DEMO_WINDOW_RIGHT, DEMO_WINDOW_BOTTOM};
  graphic_DrawFullRectangle(canvas, &plate, DEMO_WINDOW_COLOUR, 0, 0);
  for (uint32_t i = 0; i < bytes; ++i) shown[i] = text[i];
  shown[bytes] = 0;
  const int width = DEMO_TEXT_RIGHT - DEMO_TEXT_LEFT + 1, height = DEMO_TEXT_LINES * DEMO_LINE_HEIGHT;
  GRAPHIC mask = FontGrph_Create(width, height);
  if (mask) {
    RGBQUAD colours[2] = {{DEMO_WINDOW_COLOUR & 0xFF, (DEMO_WINDOW_COLOUR >> 8) & 0xFF, DEMO_WINDOW_COLOUR >> 16, 0},
                          {DEMO_INK_COLOUR & 0xFF, (DEMO_INK_COLOUR >> 8) & 0xFF, DEMO_INK_COLOUR >> 16, 0}};
    FontGrph_SelectFont(mask, font, DEMO_LINE_HEIGHT);
    FontGrph_SetProbitChars(mask, DEMO_PROHIBITED);
    FontGrph_DrawText(mask, shown);
    graphic_SetPaletteEntries(mask, 0, 2, colours);
    graphic_DrawBitmapToBitmap(mask, canvas, DEMO_TEXT_LEFT, DEMO_TEXT_TOP, NULL, 0, 0);
    FontGrph_Delete(mask);
  }
  /* A rule under each line, drawn over the mask so that its background cannot hide them. */
  for (int line = 0; line < DEMO_TEXT_LINES; ++line) {
    const int y = DEMO_TEXT_TOP + (line + 1) * DEMO_LINE_HEIGHT - DEMO_RULE_RISE;
    RECT rule = {DEMO_TEXT_LEFT - 8, y, DEMO_TEXT_RIGHT + 8, y};
    graphic_DrawFullRectangle(canvas, &rule, DEMO_RULE_COLOUR, 0, 0);
  }
}

/* The length of the first `characters` characters of Shift-JIS text, lead bytes counted with
 * their trail bytes. */
static uint32_t prefixBytes(const char* text, uint32_t characters) {
  uint32_t bytes = 0;
  while (characters-- && text[bytes]) {
    const uint8_t lead = (uint8_t)text[bytes];
    const int wide = (lead >= 0x81 && lead <= 0x9F) || (lead >= 0xE0 && lead <= 0xFC);
    bytes += wide && text[bytes + 1] ? 2 : 1;
  }
  return bytes;
}

static uint32_t textLength(const char* text) {
  uint32_t length = 0;
  while (text[length]) ++length;
  return length;
}

/* Where the story goes after a scene entry or the main menu. */
typedef enum Flow { FLOW_ON, FLOW_QUIT, FLOW_TITLE, FLOW_LOADED } Flow;
enum { MENU_SAVE = 0, MENU_LOAD = 1, MENU_SOUND = 2, MENU_TITLE = 4, MENU_QUIT = 5 };

static Progress current, loaded; /* the story's progress, and a save's that the main menu loaded */
static uint32_t charactersPerTick;

static void offerSave(Progress progress);

/* Reads the configuration again and applies it at once: the voice's volume, the message speed,
 * and the music's source (the song starts again from MIDI or from its wave). */
static void applySoundConfig(void) {
  const uint32_t voiceVolume = stepVolume(configValue("VolumeOfVoice", 8, 8));
  if (voice) PCM_SetVolume(voice, voiceVolume, voiceVolume);
  charactersPerTick = 1u << configValue("MessageSpeed", 2, 4);
  if (songPlaying[0] && (midiSong != NULL) != midiChosen()) {
    char song[sizeof songPlaying];
    for (uint32_t i = 0; i < sizeof song; ++i) song[i] = songPlaying[i];
    playMusic(song);
  }
  const int values[4] = {(int)ZPK_GetProfileInt("Config", "BgmSelection", 1), (int)configValue("VolumeOfBGM", 8, 8),
                         (int)configValue("VolumeOfVoice", 8, 8), (int)configValue("MessageSpeed", 2, 4)};
  reportLine("config", 4, values);
}

/* The sound configuration over the backdrop, into the canvas. */
static void soundScreen(void) {
  reportWords("screen", "sound");
  hostScreenBegins();
  Nodali_SoundConfigMenu(canvas, backdrop, midiSong, waveSong);
  hostScreenEnds();
  applySoundConfig();
}

void configureSound(void) {
  keepCanvas();
  soundScreen();
  restoreCanvas();
}

StartupChoice startupMenu(void) {
  showCanvas();
  reportWords("screen", "startup");
  hostScreenBegins();
  const int32_t choice = Nodali_StartupMenu(canvas, 3);
  hostScreenEnds();
  reportLine("start", 1, &choice);
  return choice >= START_NEW && choice <= START_BONUS ? (StartupChoice)choice : START_QUIT;
}

/* The main menu over the scene: save, load, the sound configuration, back to the title, quit,
 * or back to the scene (right button, or its way out). */
static Flow mainMenu(void) {
  keepCanvas();
  reportWords("screen", "menu");
  hostScreenBegins();
  const int32_t choice = Nodali_MainMenu(canvas, backdrop);
  hostScreenEnds();
  reportLine("menu", 1, &choice);
  Flow flow = FLOW_ON;
  switch (choice) {
    case MENU_SAVE: offerSave(current); break;
    case MENU_LOAD:
      if (loadStory(&loaded)) flow = FLOW_LOADED;
      break;
    case MENU_SOUND: soundScreen(); break;
    case MENU_TITLE: flow = FLOW_TITLE; break;
    case MENU_QUIT: flow = FLOW_QUIT; break;
  }
  if (flow == FLOW_ON) restoreCanvas();
  forgetInput();
  return flow;
}

/* Shows entry `index` at the message speed while its voice plays, and waits for the player to
 * go on: an advance while the text runs shows it whole; Escape or the right button opens the
 * main menu. */
static Flow showEntry(int index, int place) {
  const Entry* entry = &entries[index];
  const uint32_t length = textLength(entry->text);
  charactersPerTick = 1u << configValue("MessageSpeed", 2, 4);
  const int numbers[2] = {index, place};
  reportLine("screen scene", 2, numbers);
  drawBackground(place);
  speak(index);
  uint32_t characters = 0, shownBytes = (uint32_t)-1;
  for (;;) {
    if (quitRequested()) return FLOW_QUIT;
    if (takeMenuRequests()) {
      const Flow flow = mainMenu();
      if (flow != FLOW_ON) return flow;
    }
    const int advances = takeAdvances();
    const uint32_t bytes = prefixBytes(entry->text, characters);
    if (bytes == length && advances) break;
    characters = advances ? length : characters + charactersPerTick;
    const uint32_t now = prefixBytes(entry->text, characters);
    if (now != shownBytes) {
      drawTextWindow(entry->text, now);
      if (now == length) reportWords("text", "shown");
      shownBytes = now;
    }
    Sleep(REVEAL_TICK_MS);
  }
  playEffect(chime);
  return FLOW_ON;
}

/* Every entry of the script's part `part`. */
static Flow playPart(const char* part, int place) {
  forgetInput();
  for (int i = 0; i < entryCount; ++i) {
    if (!sameText(entries[i].part, part)) continue;
    const Flow flow = showEntry(i, place);
    if (flow != FLOW_ON) return flow;
  }
  return FLOW_ON;
}

/* The listener that the map scene calls at the decision: its table's slot 1 is a member
 * function taking two int32; a fastcall function takes `self` in ECX like one and pops the two
 * arguments from the stack. */
static void __fastcall onPlaceDecided(void* self, int unused, int32_t first, int32_t second) { playEffect(blip); }
static void* placeListenerTable[2] = {NULL, (void*)onPlaceDecided};
static void* placeListener = placeListenerTable;

static int choosePlace(void) {
  static int32_t places[2 * DEMO_PLACE_COUNT], offsets[2 * DEMO_PLACE_COUNT];
  for (int i = 0; i < DEMO_PLACE_COUNT; ++i) {
    ImageInfo info;
    info.size = sizeof info;
    graphic_GetImageInfo(labels[i], &info);
    places[2 * i] = kDemoPlaces[2 * i];
    places[2 * i + 1] = kDemoPlaces[2 * i + 1];
    offsets[2 * i] = info.width / 2;
    offsets[2 * i + 1] = info.height / 2;
  }
  int32_t rect[4] = {0, 0, DEMO_CLIENT_WIDTH - 1, DEMO_CLIENT_HEIGHT - 1};
  int32_t place = 0, height = -1;
  reportWords("screen", "map");
  hostScreenBegins();
  k3dSelectPlaceOnMap(rect, landscape, places, labels, offsets, DEMO_PLACE_COUNT, &place, &height, &placeListener);
  hostScreenEnds();
  showCanvas();
  const int numbers[2] = {place, height};
  reportLine("place", 2, numbers);
  return demoClamp(place, 0, DEMO_PLACE_COUNT - 1);
}

/* ---- Save files ---------------------------------------------------------------------------- */

static uint8_t saveBytes[SAVE_FILE_BYTES];

static void putWord(uint32_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) saveBytes[offset + i] = (uint8_t)(value >> (8 * i));
}

static uint32_t getWord(uint32_t offset) {
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | saveBytes[offset + i];
  return value;
}

/* "nodali<page><slot>.sav" in the save folder. */
static void saveFilePath(char* path, int page, int slot) {
  char* folder = ZPK_GetProfileString("Installed", "SaveDir", "");
  int length = 0;
  while (folder && folder[length] && length < MAX_PATH - 20) path[length] = folder[length], ++length;
  if (folder) HeapFree(GetProcessHeap(), 0, folder);
  if (length && path[length - 1] != '\\') path[length++] = '\\';
  for (const char* c = "nodali00.sav"; *c; ++c) path[length++] = *c;
  path[length] = 0;
  path[length - 6] = (char)('0' + page);
  path[length - 5] = (char)('0' + slot);
}

/* The screens show a save as chapter 1 with the place's picture, kind 1. */
static int writeSave(int page, int slot, Progress progress) {
  char path[MAX_PATH];
  saveFilePath(path, page, slot);
  for (uint32_t i = 0; i < SAVE_FILE_BYTES; ++i) saveBytes[i] = 0;
  putWord(0, 2);
  putWord(4, 1);
  putWord(8, (uint32_t)progress.place + 1);
  putWord(SAVE_STATE_OFFSET, SAVE_MAGIC);
  putWord(SAVE_STATE_OFFSET + 4, (uint32_t)progress.stage);
  putWord(SAVE_STATE_OFFSET + 8, (uint32_t)progress.place);
  putWord(SAVE_KIND_OFFSET, 1);
  KFILE file = File_OpenFile(path, FILE_WRITE | FILE_CREATE);
  if (!file) {
    complain("cannot write", path);
    return 0;
  }
  const int written = File_Write(file, saveBytes, SAVE_FILE_BYTES) == SAVE_FILE_BYTES;
  File_CloseFile(file);
  if (!written) complain("cannot write all of", path);
  return written;
}

/* 0 for a file that is short, not the game's or holds a state the story does not have. */
static int readSave(int page, int slot, Progress* progress) {
  char path[MAX_PATH];
  saveFilePath(path, page, slot);
  KFILE file = File_OpenFile(path, FILE_READ);
  if (!file) {
    complain("cannot read", path);
    return 0;
  }
  const uint32_t read = File_Read(file, saveBytes, SAVE_FILE_BYTES);
  File_CloseFile(file);
  const uint32_t stage = getWord(SAVE_STATE_OFFSET + 4), place = getWord(SAVE_STATE_OFFSET + 8);
  if (read != SAVE_FILE_BYTES || getWord(0) != 2 || getWord(SAVE_STATE_OFFSET) != SAVE_MAGIC ||
      stage > STAGE_OUTRO || (place >= DEMO_PLACE_COUNT && stage != STAGE_INTRO)) {
    complain("not a save of this game:", path);
    return 0;
  }
  progress->stage = (int32_t)stage;
  progress->place = stage == STAGE_INTRO ? -1 : (int32_t)place;
  return 1;
}

static void offerSave(Progress progress) {
  reportWords("screen", "save");
  hostScreenBegins();
  const int32_t choice = Nodali_SaveContextMenu(canvas, SAVE_PAGE);
  hostScreenEnds();
  showCanvas();
  if (choice >= 10 && writeSave(choice / 10, choice % 10, progress)) reportLine("saved", 1, &choice);
}

int loadStory(Progress* progress) {
  showCanvas();
  reportWords("screen", "load");
  hostScreenBegins();
  const int32_t choice = Nodali_LoadContextMenu(canvas, SAVE_PAGE);
  hostScreenEnds();
  if (choice < 10 || !readSave(choice / 10, choice % 10, progress)) return 0;
  const int numbers[3] = {choice, progress->stage, progress->place};
  reportLine("loaded", 3, numbers);
  return 1;
}

/* ---- The story ----------------------------------------------------------------------------- */

/* The staff roll, then the ending's picture and song until the player goes back to the title. */
static int showEnding(void) {
  playStaffRoll();
  if (quitRequested()) return 0;
  graphic_DrawBitmapToBitmap(ending, canvas, 0, 0, NULL, 0, 0);
  showCanvas();
  playMusic("ending");
  unlockPicture(DEMO_PLACE_COUNT);
  forgetInput();
  reportWords("screen", "ending");
  while (!takeAdvances()) {
    if (quitRequested()) return 0;
    Sleep(20);
  }
  stopMusic();
  return 1;
}

/* The story from `progress` to the ending or until the main menu leads elsewhere. The scenes
 * are quiet but for the voices; the title's song comes back over the map. */
static Flow playFrom(Progress progress) {
  showCanvas();
  stopMusic();
  current = progress;
  Flow flow;
  if (current.stage == STAGE_INTRO) {
    if ((flow = playPart("intro", -1)) != FLOW_ON) return flow;
    playMusic("title");
    current.place = choosePlace();
    current.stage = STAGE_PLACE;
    stopMusic();
  }
  if (current.stage == STAGE_PLACE) {
    char part[] = "place0";
    part[5] = (char)('0' + current.place);
    unlockPicture(current.place);
    if ((flow = playPart(part, current.place)) != FLOW_ON) return flow;
    current.stage = STAGE_OUTRO;
    offerSave(current);
  }
  if ((flow = playPart("outro", current.place)) != FLOW_ON) return flow;
  return showEnding() ? FLOW_TITLE : FLOW_QUIT;
}

int playStory(Progress progress) {
  Flow flow;
  while ((flow = playFrom(progress)) == FLOW_LOADED) progress = loaded;
  return flow == FLOW_TITLE;
}

static GRAPHIC readPicture(const char* name) {
  GRAPHIC picture = MOLAQImage_ReadImageFile(name, 0);
  if (!picture) complain("cannot read", name);
  return picture;
}

int openStory(ZPKMODULE module, GRAPHIC title) {
  landscape = title;
  if (!readScript()) {
    complain("cannot read the script", "scene.sjis");
    return 0;
  }
  char name[] = "place0.mqi";
  for (int i = 0; i < DEMO_PLACE_COUNT; ++i) {
    name[5] = (char)('0' + i);
    if (!(labels[i] = readPicture(name))) return 0;
  }
  if (!(ending = readPicture("ending.mqi"))) return 0;
  font = CreateFontA(-DEMO_FONT_HEIGHT, 0, 0, 0, FW_NORMAL, 0, 0, 0, SHIFTJIS_CHARSET, 0, 0, 0, 0, DEMO_FACE);
  canvas = graphic_CreateBitmap(DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT, 24);
  backdrop = graphic_CreateBitmap(DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT, 24);
  RECT whole = {0, 0, DEMO_CLIENT_WIDTH - 1, DEMO_CLIENT_HEIGHT - 1};
  if (!font || !canvas || !backdrop || !(canvasScreen = View_Create(canvas, &whole, NULL))) {
    complain("cannot make", "the story's picture");
    return 0;
  }
  /* The sounds go through the mixer; the game plays on without them if it does not open. */
  if (WaveMixer_Open(200, 10, 44100, 2, 16) != 0) complain("cannot open", "the wave mixer");
  chime = readWave("chime.wav");
  blip = readWave("blip.wav");
  return 1;
}

void closeStory(void) {
  stopMusic();
  KPCMSOUND sounds[3] = {chime, blip, voice};
  for (int i = 0; i < 3; ++i) {
    if (!sounds[i]) continue;
    PCM_StopWave(sounds[i]);
    PCM_Delete(sounds[i]);
  }
  chime = blip = voice = NULL;
  WaveMixer_Close();
  if (canvasScreen) View_Delete(canvasScreen);
  if (canvas) graphic_DeleteBitmap(canvas);
  if (backdrop) graphic_DeleteBitmap(backdrop);
  if (ending) graphic_DeleteBitmap(ending);
  for (int i = 0; i < DEMO_PLACE_COUNT; ++i) {
    if (labels[i]) graphic_DeleteBitmap(labels[i]);
  }
  if (font) DeleteObject(font);
}
