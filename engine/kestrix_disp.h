/* Turns XML display documents into the command bytes of a customer display: the plain C interface,
   for C and for every language that can call C.

       KestrixDisp *display = kestrix_disp_new();
       const unsigned char *bytes;
       size_t length;
       short status = kestrix_disp_parse(display, document, strlen(document), "default", "DEFAULT",
                                         &bytes, &length);
       if (status < 0)
           fprintf(stderr, "%s\n", kestrix_disp_status_text(status));
       else if (kestrix_disp_message(display, NULL) != NULL)
           fprintf(stderr, "%s\n", kestrix_disp_message(display, NULL));
       else
           send(bytes, length);
       kestrix_disp_free(display);

   Threads: these functions may be called at the same time, each thread with a display of its own.
   A lock in the library lets one call run after the other. It does not cover the C++ class
   KestrixDispEngine nor the functions of converter/RuvoConverter.h: call those while none of these
   runs. After fork both processes may go on with the display; each has its own then.

   Strings are UTF-8 and end in NUL. Nothing here throws or ends the process. */
#ifndef KESTRIX_ENGINE_KESTRIX_DISP_H
#define KESTRIX_ENGINE_KESTRIX_DISP_H

#include <stddef.h>

#ifndef KESTRIX_API
#if defined(__GNUC__)
#define KESTRIX_API __attribute__((visibility("default")))
#else
#define KESTRIX_API
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Keeps the device profiles that it has opened, and the bytes of its latest document. */
typedef struct KestrixDisp KestrixDisp;

/* A new display, which the caller owns; null when memory is exhausted. Opens no profile. */
KESTRIX_API KestrixDisp* kestrix_disp_new(void);

/* Closes the display's profiles and frees it. Null is allowed. */
KESTRIX_API void kestrix_disp_free(KestrixDisp* display);

/* Turns a document into commands.

   document        XML in any encoding that it declares; NUL bytes end nothing
   documentLength  its bytes; 0 is a document that ends early
   device          name of the device information file, such as "default". The display opens the
                   profile at its first document and keeps it open
   setting         name of the ID file, such as "DEFAULT"; used only when the profile is opened
   bytes, length   get the commands, which belong to the display and stay until its next call of
                   this function or of kestrix_disp_free. After a negative result they are null, 0
   returns         0; or a negative status of converter/RuvoConverter.h: why the profile cannot be
                   opened, RUVO_INVALID_ARGUMENT (-20) for a null pointer, RUVO_OUT_OF_MEMORY (-60)

   The bytes are whole commands. Of a document that ends early they are those of the elements before
   its end, as far as the XML reader had handed them over, and kestrix_disp_message says why: a till
   that wants all or nothing sends them only if there is no message. One thing outlives a document:
   the code table that was selected last on the device. A character that several tables have is
   taken from that one. Each text selects its table itself, so bytes may be left unsent. */
KESTRIX_API short kestrix_disp_parse(KestrixDisp* display, const char* document,
                                     size_t documentLength, const char* device, const char* setting,
                                     const unsigned char** bytes, size_t* length);

/* Why the latest document ended early: one sentence, such as "an & that begins no entity; write
   &amp;". Null if it did not, after a negative result, and for a null display. It belongs to the
   display like the bytes.

   line  gets the line of the document, counted from 1; 0 if it is not known, or without a message.
         May be null */
KESTRIX_API const char* kestrix_disp_message(const KestrixDisp* display, unsigned long* line);

/* What a status of this interface or of converter/RuvoConverter.h means, in a few words. */
KESTRIX_API const char* kestrix_disp_status_text(short status);

/* The version of the library, such as "1.0". */
KESTRIX_API const char* kestrix_disp_version(void);

#ifdef __cplusplus
}
#endif

#endif
