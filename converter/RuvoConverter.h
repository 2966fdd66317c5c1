/* Code page converter: turns UTF-8 or UTF-16 text into display bytes with switching commands.
 *
 * Plain C interface, usable from C and C++. Calling order:
 *
 *   RuvoOpenHandle, then any number of times
 *     RuvoSetTargetCodePage / RuvoSetEncodeType   (optional)
 *     RuvoSetData                                 (may be repeated; the output accumulates)
 *     RuvoGetOutputData or RuvoGetRawData         (empties the handle's output)
 *   and RuvoCloseHandle at the end.
 *
 * Every function returns a signed 16-bit status: 0 (or a handle, 1..254) on success, a negative
 * code of enum RuvoStatus otherwise. Lengths are unsigned long, in bytes. A handle or an input
 * length whose top bit is set counts as negative and is refused.
 *
 * Threads: there are no locks. No other call may run during RuvoOpenHandle or RuvoCloseHandle.
 * Apart from them, calls on different handles may overlap; calls on one handle must not.
 */
#ifndef KESTRIX_CONVERTER_RUVO_CONVERTER_H
#define KESTRIX_CONVERTER_RUVO_CONVERTER_H

#if defined(__GNUC__)
#define RUVO_API __attribute__((visibility("default")))
#else
#define RUVO_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Status codes. The numbers are stored by callers: never renumbered, never reused. */
enum RuvoStatus {
    RUVO_OK = 0,
    RUVO_INVALID_HANDLE = -10,
    RUVO_INVALID_ARGUMENT = -20,
    RUVO_FILE_NOT_OPENED = -30,  /* a file exists but cannot be opened */
    RUVO_BUFFER_TOO_SMALL = -40, /* the length that is needed has been written back */
    RUVO_NO_FREE_HANDLE = -50,
    RUVO_OUT_OF_MEMORY = -60,
    RUVO_SETTINGS_MISSING = -100, /* HalvoSet.txt */
    RUVO_SETTINGS_INVALID = -110,
    RUVO_DEVICE_INFO_MISSING = -200,
    RUVO_DEVICE_INFO_INVALID = -210,
    RUVO_TABLE_MISSING = -300,        /* a translation table file */
    RUVO_ICS_MISSING = -310,          /* an internal character set file */
    RUVO_UNICODE_DATA_MISSING = -320, /* UnicodeData.txt */
    RUVO_TABLE_INVALID = -330,
    RUVO_ICS_INVALID = -340,
    /* Warnings: the text has been converted, with substitutes or cut, and its output buffered. */
    RUVO_ODD_LENGTH = -400,         /* UTF-16 input of odd length */
    RUVO_UNPAIRED_SURROGATE = -410, /* in UTF-16 input */
    RUVO_MALFORMED_UTF8 = -420,     /* or a code point above U+10FFFF */
    RUVO_INPUT_TOO_LONG = -500,     /* only the first part has been converted */
    /* An error, not a warning: what was appended before it stays buffered. */
    RUVO_OUTPUT_FULL = -510 /* an output chain holds "OutputBufferBlockMax" blocks */
};

/* Values of sEncodeType. */
enum RuvoEncodeType {
    RUVO_UTF16_BY_MARK = 0,       /* as the byte order mark says, which is skipped: FE FF is
                                     big-endian, FF FE little-endian; without one big-endian */
    RUVO_UTF16_BIG_ENDIAN = 1,    /* a byte order mark is a character like any other */
    RUVO_UTF16_LITTLE_ENDIAN = 2, /* the same */
    RUVO_UTF8 = 3
};

/* Opens a handle for one device: reads the profile files and builds the character tables.
 *
 * pucDeviceInfo  name of the device information file, ulDeviceInfoLength bytes; bytes outside
 *                20..7F (hex) are dropped, at most 127 may remain
 * pucID          name of the ID file, which gives the module path, without ".txt"; ulIDLength
 *                bytes, with the same rule. Without such a file HalvoSet.txt is read from the
 *                current directory
 * returns        the handle, 1..254, or a negative code; a failed open leaves nothing behind:
 *                -20 null pointer, length 0 or negative, or a name too long;
 *                -30, -50, -60, -100 to -340 as named in enum RuvoStatus
 *
 * The caller's memory is not used after the call. Close the handle with RuvoCloseHandle.
 */
RUVO_API short RuvoOpenHandle(const unsigned char* pucDeviceInfo, unsigned long ulDeviceInfoLength,
                              const unsigned char* pucID, unsigned long ulIDLength);

/* Closes a handle and frees all that it owns.
 *
 * returns  0; -10 the handle is not open
 */
RUVO_API short RuvoCloseHandle(short sHandle);

/* Converts text and appends the result to the handle's buffered output.
 *
 * pucData       text in the handle's encoding, owned by the caller. Little-endian UTF-16
 *               (encoding 2, or 0 with the mark FF FE) is changed to big-endian in place
 * ulDataLength  in bytes; at most 0x400000 (UTF-16) or 0x800000 (UTF-8) of them are converted
 * returns       0 converted; -400, -410, -420 converted with substitutes; -500 converted up to the
 *               limit; -10 handle not open, -20 pucData null or length 0 or negative: nothing done;
 *               -60, -510 not all converted: what was appended before stays buffered
 */
RUVO_API short RuvoSetData(short sHandle, unsigned char* pucData, unsigned long ulDataLength);

/* Selects the one code page to convert to.
 *
 * lCodePage  a code page that a table of the device declares, or -1 for the automatic choice
 *            among all tables, which is the setting of a new handle
 * returns    0; -10 handle not open; -20 no such code page, setting unchanged
 */
RUVO_API short RuvoSetTargetCodePage(short sHandle, long lCodePage);

/* Selects the encoding of the text given to RuvoSetData.
 *
 * sEncodeType  a value of enum RuvoEncodeType; a new handle has "EncodeTypeDefault"
 * returns      0; -10 handle not open; -20 not 0..3, encoding unchanged
 */
RUVO_API short RuvoSetEncodeType(short sHandle, short sEncodeType);

/* Copies the buffered output, as one command stream, and empties the handle.
 *
 * The stream holds character codes, ESC t n (1B 74 n) before a character of another code table,
 * and ESC R n (1B 52 n) before and after each character of an internal character set.
 *
 * pucPrintData  room for *pulLength bytes, owned by the caller; NULL with *pulLength 0 asks for
 *               the length
 * *pulLength    in: room, in bytes; out: bytes written, or bytes needed
 * returns       0 done, the handle's output is empty (with nothing buffered: length 0); -40 too
 *               little room, *pulLength is what is needed, nothing lost; -10 handle not open, -20
 *               pulLength NULL, or pucPrintData NULL and *pulLength not 0: nothing written or lost
 */
RUVO_API short RuvoGetOutputData(short sHandle, unsigned char* pucPrintData,
                                 unsigned long* pulLength);

/* Copies the buffered output as its three raw streams and empties the handle.
 *
 * pucCharCode   one byte per character
 * pucTableInfo  records of 5 bytes: position of the character (32 bits, little-endian, counted
 *               from 0) before which the code table changes, and the table's parameter. If
 *               "OutputBufferBlockSize" is no multiple of 5, zeros after the records fill each full
 *               block
 * pucISetInfo   the same for internal character sets
 * pul...Length  in: room of each, in bytes; out: bytes written, or bytes needed. A buffer may be
 *               NULL while its room is 0
 * returns       0 done, the handle's output is empty (with nothing buffered: three lengths of 0);
 *               -40 too little room in one of them, all three lengths are what is needed, nothing
 *               lost; -10 handle not open, -20 a length pointer is NULL, or a buffer is NULL and
 *               its room not 0: nothing written or lost
 */
RUVO_API short RuvoGetRawData(short sHandle, unsigned char* pucCharCode,
                              unsigned long* pulCharCodeLength, unsigned char* pucTableInfo,
                              unsigned long* pulTableInfoLength, unsigned char* pucISetInfo,
                              unsigned long* pulISetInfoLength);

#ifdef __cplusplus
}
#endif

#endif
