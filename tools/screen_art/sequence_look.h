/* The pictures of the opening and ending sequences as screen_art draws them for the tests, shared
 * by the generator and the test modules (C). Each picture "bgNNNN.bmp" is one colour of its own;
 * the scrolled picture "bg6450.bmp" has a colour per row that tells the row. */
#ifndef SEQUENCE_LOOK_H
#define SEQUENCE_LOOK_H

/* Picture numbers run from 6300 to 6690 in steps of 10. */
#define SEQ_ART_FIRST 6300
#define SEQ_ART_LAST 6690
#define SEQ_ART_INDEX(number) (((number) - SEQ_ART_FIRST) / 10)
/* 0xRRGGBB of picture `number`: no channel below 0x30, so that fades show in each, and pictures
 * next to each other far apart in red and green, so that a blend of two shows its share. */
#define SEQ_ART_ODD(number) (SEQ_ART_INDEX(number) % 2)
#define SEQ_ART_COLOUR(number)                                                                          \
  ((unsigned)(SEQ_ART_ODD(number) ? 0x30 + 2 * SEQ_ART_INDEX(number) : 0xF0 - 2 * SEQ_ART_INDEX(number)) << 16 | \
   (unsigned)(SEQ_ART_ODD(number) ? 0xE0 - 2 * SEQ_ART_INDEX(number) : 0x40 + 2 * SEQ_ART_INDEX(number)) << 8 |  \
   (unsigned)(0x60 + 0x10 * (SEQ_ART_INDEX(number) % 8)))

/* Sizes: the title and the ending's pictures fill the screen; the opening's others are a band
 * shown at y 50, half bands shown at x 304, small pictures composed into a band at (266, 49),
 * and the scrolled picture, three screens taller. */
#define SEQ_ART_SCREEN_WIDTH 640
#define SEQ_ART_SCREEN_HEIGHT 480
#define SEQ_ART_BAND_HEIGHT 380
#define SEQ_ART_HALF_WIDTH 336
#define SEQ_ART_SMALL_SIZE 200
#define SEQ_ART_SCROLL_NUMBER 6450
#define SEQ_ART_SCROLL_HEIGHT 1920

/* Row y of the scrolled picture: red the low byte of y, green the high one, blue a mark. */
#define SEQ_ART_SCROLL_MARK 0x5A
#define SEQ_ART_ROW_COLOUR(y) ((unsigned)((y) & 0xFF) << 16 | (unsigned)((y) >> 8 & 0xFF) << 8 | SEQ_ART_SCROLL_MARK)
#define SEQ_ART_IS_ROW_COLOUR(colour) (((colour) & 0xFF) == SEQ_ART_SCROLL_MARK)
#define SEQ_ART_ROW_OF(colour) ((int)((colour) >> 16 & 0xFF) | (int)((colour) >> 8 & 0xFF) << 8)

#endif
