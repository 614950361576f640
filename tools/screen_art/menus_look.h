/* The look of the generated main menu, title screens, bonus menu and sound configuration: sizes
 * and colours (0xRRGGBB) of their bitmaps, in C so that test modules check the window's pixels
 * against the same numbers. Bitmaps with an alpha plane are opaque inside and transparent on
 * their outermost pixels. */
#ifndef SCREEN_ART_MENUS_LOOK_H
#define SCREEN_ART_MENUS_LOOK_H

/* "MainMenu.arc": the menu's panel (exclusive box) over a transparent rest, its six lit buttons
 * (8-bit bitmaps that are their own alpha plane) and the two confirmation boxes. */
#define MENU_ART_PANEL_LEFT 60
#define MENU_ART_PANEL_TOP 40
#define MENU_ART_PANEL_RIGHT 440
#define MENU_ART_PANEL_BOTTOM 420
#define MENU_ART_PANEL_COLOUR 0x2040A0u
#define MENU_ART_BUTTON_WIDTH 240
#define MENU_ART_BUTTON_HEIGHT 44
#define MENU_ART_BUTTON_COLOUR(id) (0xE0800Fu + 0x10u * (unsigned)(id))
#define MENU_ART_BOX_WIDTH 300
#define MENU_ART_BOX_HEIGHT 160
#define MENU_ART_RESTART_BOX_COLOUR 0xD0E0F0u
#define MENU_ART_QUIT_BOX_COLOUR 0xF0E0D0u

/* "Startup.arc": the title screens of kind 1 to 3 with the lit buttons 0 to 4, and the bonus
 * menu with its three. */
#define STARTUP_ART_BACKGROUND_COLOUR(kind) (0x103050u + 0x200000u * (unsigned)(kind))
#define STARTUP_ART_BUTTON_COLOUR(kind, id) \
  ((0x60u + 0x20u * (unsigned)(id)) << 16 | 0xC000u | 0x10u * (unsigned)(kind))
#define OMAKE_ART_BACKGROUND_COLOUR 0x305030u
#define OMAKE_ART_BUTTON_COLOUR(id) (0xF0F000u + 0x20u * (unsigned)(id))

/* "SoundCfg.arc": the panel over a transparent rest, the source buttons lit and dark, the
 * arrows' pressed images and the knob (21 wide: 16 pixels a step on the volume tracks). */
#define SOUND_ART_PANEL_LEFT 240
#define SOUND_ART_PANEL_TOP 60
#define SOUND_ART_PANEL_RIGHT 630
#define SOUND_ART_PANEL_BOTTOM 470
#define SOUND_ART_PANEL_COLOUR 0x403020u
#define SOUND_ART_TRACK_COLOUR 0x606060u
#define SOUND_ART_WAVE_COLOUR(on) ((on) ? 0x20F0F0u : 0x207070u)
#define SOUND_ART_MIDI_COLOUR(on) ((on) ? 0xF020F0u : 0x702070u)
#define SOUND_ART_LEFT_COLOUR 0x10E010u
#define SOUND_ART_RIGHT_COLOUR 0xE01010u
#define SOUND_ART_KNOB_WIDTH 21
#define SOUND_ART_KNOB_HEIGHT 31
#define SOUND_ART_KNOB_COLOUR 0xF0F0F0u

#endif
