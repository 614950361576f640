/* The pages of the end-to-end font test, shared by its module (under Wine, GDI) and by the
 * native tool that lays out the same text with FreeType: masks of this size, a font that
 * names a face the systems lack, and the prohibited characters, in Shift-JIS. */
#ifndef LAYOUT_PAGE_H
#define LAYOUT_PAGE_H

#define LAYOUT_WIDTH 240
#define LAYOUT_HEIGHT 68
#define LAYOUT_PAGES 4
#define LAYOUT_FONT_HEIGHT (-16)
/* "ＭＳ ゴシック" */
#define LAYOUT_FACE "\x82\x6C\x82\x72\x20\x83\x53\x83\x56\x83\x62\x83\x4E"
#define LAYOUT_FACE_UTF8 "\xEF\xBC\xAD\xEF\xBC\xB3 \xE3\x82\xB4\xE3\x82\xB7\xE3\x83\x83\xE3\x82\xAF"
/* "、。」）！？" */
#define LAYOUT_PROHIBITED "\x81\x41\x81\x42\x81\x76\x81\x6A\x81\x49\x81\x48"

#endif
