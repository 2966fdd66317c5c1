/* Converts a text through the C functions and prints the bytes, in hex. */
#include <converter/RuvoConverter.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

int main(void)
{
    static const char device[] = "default";
    static const char id[] = "none";
    unsigned char text[] = "A\xC3\xA9";
    unsigned char *bytes;
    unsigned long length = 0;
    unsigned long i;
    const short handle = RuvoOpenHandle((const unsigned char *)device, strlen(device),
                                        (const unsigned char *)id, strlen(id));
    if (handle != 1 || RuvoSetData(handle, text, sizeof text - 1) != RUVO_OK)
        return 1;
    if (RuvoGetOutputData(handle, NULL, &length) != RUVO_BUFFER_TOO_SMALL)
        return 2;
    bytes = malloc(length);
    if (bytes == NULL || RuvoGetOutputData(handle, bytes, &length) != RUVO_OK)
        return 3;
    for (i = 0; i < length; ++i)
        printf("%02X ", bytes[i]);
    printf("\n");
    free(bytes);
    if (RuvoCloseHandle(handle) != RUVO_OK || RuvoCloseHandle(handle) != RUVO_INVALID_HANDLE)
        return 4;
    return 0;
}
