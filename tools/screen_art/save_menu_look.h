/* The look of the generated save and load screens: sizes and colours (0xRRGGBB) of their
 * bitmaps, in C so that test modules check the window's pixels against the same numbers. Every
 * bitmap with an alpha plane is opaque inside and transparent on its outermost pixels. */
#ifndef SCREEN_ART_SAVE_MENU_LOOK_H
#define SCREEN_ART_SAVE_MENU_LOOK_H

#define SAVE_ART_PAGE_COLOUR(page) (0x182838u + 0x100000u * (unsigned)(page))
#define SAVE_ART_SLOT_FRAME_COLOUR 0x8090A0u
#define SAVE_ART_SLOT_WIDTH 270
#define SAVE_ART_SLOT_HEIGHT 70
#define SAVE_ART_HOVER_COLOUR(slot) (0xC0A000u + (unsigned)(slot))

/* Glyphs 0 to 9 and 10 for '_'; the digit is drawn inside, the pixel at (1, 1) is the colour. */
#define SAVE_ART_GLYPH_WIDTH 10
#define SAVE_ART_GLYPH_HEIGHT 14
#define SAVE_ART_GLYPH_COLOUR(glyph, on) ((0x30u + 0x10u * (unsigned)(glyph)) << 16 | ((on) ? 0xF010u : 0x7010u))
#define SAVE_ART_GLYPH_INK 0x000000u

#define SAVE_ART_KIND_WIDTH 40
#define SAVE_ART_KIND_HEIGHT 14
#define SAVE_ART_KIND_COLOUR(kind, on) (0x1000F0u | (unsigned)(kind) << 20 | ((on) ? 0xFF00u : 0x8000u))

/* Chapter pictures; chapter 0 picture 0 is the no-data picture. */
#define SAVE_ART_PICTURE_WIDTH 80
#define SAVE_ART_PICTURE_HEIGHT 30
#define SAVE_ART_PICTURE_COLOUR(chapter, picture, on) \
  (0x200000u * (unsigned)(chapter) | 0x2000u * (unsigned)(picture) | ((on) ? 0xC0u : 0x60u))

#define SAVE_ART_PAGE_BUTTON_WIDTH 100
#define SAVE_ART_PAGE_BUTTON_HEIGHT 36
#define SAVE_ART_PREVIOUS_COLOUR(on) ((on) ? 0x80FF80u : 0x40C080u)
#define SAVE_ART_NEXT_COLOUR(on) ((on) ? 0x80FF90u : 0x40C090u)
#define SAVE_ART_BACK_WIDTH 84
#define SAVE_ART_BACK_HEIGHT 36
#define SAVE_ART_BACK_COLOUR 0xFF8040u

/* The confirmation box: its two buttons lie where the screens put their hit areas. */
#define SAVE_ART_BOX_WIDTH 300
#define SAVE_ART_BOX_HEIGHT 160
#define SAVE_ART_BOX_COLOUR 0xE0E0E0u
#define SAVE_ART_BOX_YES_COLOUR 0x40A040u
#define SAVE_ART_BOX_NO_COLOUR 0xA04040u

#endif
