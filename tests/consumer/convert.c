/* Converts a text through the C functions and prints the bytes, in hex: convert [SETTING] */
#include <converter/RuvoConverter.h>

#include <stdio.h>
#include <string.h>

int main(int argc, char** argv)
{
    const char* device = "default";
    const char* setting = argc > 1 ? argv[1] : "DEFAULT";
    unsigned char bytes[16];

    unsigned char text[] = "A\303\251"; /* UTF-8; UTF-16 is changed in place */
    unsigned long length = sizeof bytes;
    short handle = RuvoOpenHandle((const unsigned char*)device, strlen(device),
                                  (const unsigned char*)setting, strlen(setting));
    if (handle < 0) {
        fprintf(stderr, "the profile does not open, status %d\n", handle);
        return 1;
    }
    if (RuvoSetData(handle, text, sizeof text - 1) < 0 ||
        RuvoGetOutputData(handle, bytes, &length) < 0)
        return 1;
    RuvoCloseHandle(handle);

    for (unsigned long i = 0; i < length; ++i)
        printf("%02X ", bytes[i]);
    printf("\n");
    return 0;
}
