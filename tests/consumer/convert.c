/* Converts a text through the C functions and prints the bytes, in hex. */
#include <converter/RuvoConverter.h>

#include <stdio.h>

int main(void)
{
    unsigned char text[] = "A\xC3\xA9";
    unsigned char bytes[16];
    unsigned long length = sizeof bytes;
    unsigned long i;
    const short handle =
        RuvoOpenHandle((const unsigned char*)"default", 7, (const unsigned char*)"none", 4);
    if (RuvoSetData(handle, text, sizeof text - 1) != RUVO_OK ||
        RuvoGetOutputData(handle, bytes, &length) != RUVO_OK)
        return 1;
    for (i = 0; i < length; ++i)
        printf("%02X ", bytes[i]);
    printf("\n");
    return RuvoCloseHandle(handle) != RUVO_OK;
}
