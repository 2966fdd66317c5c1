/* Shows an item on the display: till NAME PRICE [DEVICE [SETTING]] > /dev/ttyUSB0
   Build: cc till.c -o till $(pkg-config --cflags --libs kestrixdispengine) */
#include <engine/kestrix_disp.h>

#include <stdio.h>
#include <stdlib.h>

/* A text may have any character, but not these as they are. */
static void writeText(FILE* document, const char* text)
{
    for (; *text != '\0'; ++text) {
        if (*text == '&')
            fputs("&amp;", document);
        else if (*text == '<')
            fputs("&lt;", document);
        else if (*text == '>')
            fputs("&gt;", document);
        else
            fputc(*text, document);
    }
}

int main(int argc, char** argv)
{
    const char* device = argc > 3 ? argv[3] : "default";
    const char* setting = argc > 4 ? argv[4] : "DEFAULT";
    char* document = NULL;
    size_t size = 0;
    FILE* stream = open_memstream(&document, &size);
    if (argc < 3 || stream == NULL) {
        fputs("usage: till NAME PRICE [DEVICE [SETTING]]\n", stderr);
        return 2;
    }
    fputs("<ovix-display><clear/><text x=\"1\" y=\"1\">", stream);
    writeText(stream, argv[1]);
    fputs("</text><text x=\"1\" y=\"2\">", stream);
    writeText(stream, argv[2]);
    fputs("</text><cursor type=\"none\"/></ovix-display>", stream);
    if (fclose(stream) != 0)
        return 1;

    KestrixDisp* display = kestrix_disp_new();
    const unsigned char* bytes;
    size_t length;
    short status = kestrix_disp_parse(display, document, size, device, setting, &bytes, &length);
    const char* wrong =
        status < 0 ? kestrix_disp_status_text(status) : kestrix_disp_message(display, NULL);
    if (wrong == NULL)
        fwrite(bytes, 1, length, stdout);
    else
        fprintf(stderr, "till: %s\n", wrong);

    int failed = wrong != NULL;
    if (fflush(stdout) != 0 || ferror(stdout)) {
        fputs("till: the output cannot be written\n", stderr);
        failed = 1;
    }
    kestrix_disp_free(display);
    free(document);
    return failed;
}
