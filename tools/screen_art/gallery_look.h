/* The look of the generated music and CG modes, and of the sample archives that a module hands
 * them (tracks and pictures): sizes, colours (0xRRGGBB) and tones, in C so that test modules
 * check the window's pixels and the recorded sound against the same numbers. */
#ifndef SCREEN_ART_GALLERY_LOOK_H
#define SCREEN_ART_GALLERY_LOOK_H

/* "musicmod.arc" */
#define MUSIC_ART_BACKGROUND_COLOUR 0x203048u
#define MUSIC_ART_TRACK_COLOUR(track) (0xA04000u + 0x0800u * (unsigned)(track)) /* m01.bmp is track 0 */
#define MUSIC_ART_WAVE_COLOUR 0x40C0E0u  /* mpcmon.bmp */
#define MUSIC_ART_MIDI_COLOUR 0xE0C040u  /* mmidon.bmp */
#define MUSIC_ART_LEFT_COLOUR 0x80FF80u  /* bralon.bmp */
#define MUSIC_ART_RIGHT_COLOUR 0xFF8080u /* braron.bmp */
#define MUSIC_ART_KNOB_COLOUR 0xF0F0F0u  /* tumami.bmp */
#define MUSIC_ART_KNOB_WIDTH 10
#define MUSIC_ART_KNOB_HEIGHT 31

/* "tracks.arc", the module's music: m01.wav to m14.wav are sine tones of 1 s at 44.1 kHz, 16-bit
 * mono, peak 0.5; m01.mid to m14.mid play one note each. m13 is missing in both forms and m14 is
 * not a wave nor a MIDI file. */
#define MUSIC_ART_TRACK_TONE(track) (400 + 100 * (track))
#define MUSIC_ART_TRACK_NOTE(track) (60 + (track))
#define MUSIC_ART_TRACK_SECONDS 1
#define MUSIC_ART_MISSING_TRACK 12
#define MUSIC_ART_BROKEN_TRACK 13

/* "cgmode.arc" */
#define CG_ART_BACKGROUND_COLOUR 0x302018u
#define CG_ART_PAGE_UP_COLOUR 0x10E010u   /* cgboup1.bmp */
#define CG_ART_ROW_UP_COLOUR 0x10E020u    /* cgboup2.bmp */
#define CG_ART_PAGE_DOWN_COLOUR 0x10E030u /* cgbodw1.bmp */
#define CG_ART_ROW_DOWN_COLOUR 0x10E040u  /* cgbodw2.bmp */
#define CG_ART_KNOB_COLOUR 0xE0E0E0u      /* ctuma.bmp */
#define CG_ART_KNOB_WIDTH 32
#define CG_ART_KNOB_HEIGHT 20
#define CG_ART_BLACK_COLOUR 0x080808u     /* black.bmp */
#define CG_ART_THUMBNAILS 32              /* bg500.bmp to bg531.bmp */
#define CG_ART_THUMBNAIL_COLOUR(position) (0x4000C0u + 0x010400u * (unsigned)(position))

/* "pictures.arc", the module's pictures: position 0 in variants 0 and 2, large; position 1 in
 * variant 0, no larger than the window. Each pixel tells where it lies: variant in bits 20 and
 * 21, y in bits 10 to 19, x in bits 0 to 9. */
#define CG_ART_LARGE_WIDTH 800
#define CG_ART_LARGE_HEIGHT 600
#define CG_ART_SMALL_WIDTH 320
#define CG_ART_SMALL_HEIGHT 240
#define CG_ART_PICTURE_COLOUR(variant, x, y) ((unsigned)(variant) << 20 | (unsigned)(y) << 10 | (unsigned)(x))

#endif
