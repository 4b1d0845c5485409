/* Gets one frame of the simulated camera OVRA-M5, the first device of the first interface. */
#include <dlfcn.h>
#include <gentl/gentl.h>
#include <glob.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void *producer;

#define DO(name, ...)                                                                                        \
    if (((__typeof__(&name))dlsym(producer, #name))(__VA_ARGS__) != GC_ERR_SUCCESS)                          \
    return puts(#name " failed"), 1

int main(void)
{
    char pattern[4096], interface_id[256], device_id[256], stream_id[256];
    static char xml[1 << 20];
    size_t size, xml_size = 0;
    uint64_t xml_address = 0, start_address = 0;
    const uint32_t one = 1;
    glob_t files;
    INFO_DATATYPE type;
    TL_HANDLE system;
    IF_HANDLE interface;
    DEV_HANDLE device;
    DS_HANDLE stream;
    PORT_HANDLE camera;
    BUFFER_HANDLE buffer;
    EVENT_HANDLE event;
    EVENT_NEW_BUFFER_DATA frame;

    /* The last folder of the variable. */
    const char *folders = getenv("GENICAM_GENTL64_PATH");
    const char *last = folders ? strrchr(folders, ':') : NULL;
    snprintf(pattern, sizeof pattern, "%s/*.cti", last ? last + 1 : folders ? folders : ".");
    if (glob(pattern, 0, NULL, &files) != 0 || !(producer = dlopen(files.gl_pathv[0], RTLD_NOW)))
        return printf("no producer: %s\n", pattern), 1;
    DO(GCInitLib, );
    DO(TLOpen, &system);
    DO(TLUpdateInterfaceList, system, NULL, 1000);
    size = sizeof interface_id;
    DO(TLGetInterfaceID, system, 0, interface_id, &size);
    DO(TLOpenInterface, system, interface_id, &interface);
    DO(IFUpdateDeviceList, interface, NULL, 1000);
    size = sizeof device_id;
    DO(IFGetDeviceID, interface, 0, device_id, &size);
    DO(IFOpenDevice, interface, device_id, DEVICE_ACCESS_CONTROL, &device);
    DO(DevGetPort, device, &camera);

    /* Where the camera has AcquisitionStart stands in its description. */
    size = sizeof xml_address;
    DO(GCGetPortURLInfo, camera, 0, URL_INFO_FILE_REGISTER_ADDRESS, &type, &xml_address, &size);
    size = sizeof xml_size;
    DO(GCGetPortURLInfo, camera, 0, URL_INFO_FILE_SIZE, &type, &xml_size, &size);
    if (xml_size >= sizeof xml)
        return puts("the description is too long"), 1;
    DO(GCReadPort, camera, xml_address, xml, &xml_size);
    const char *start = strstr(xml, "Name=\"AcquisitionStartReg\"");
    if (!start || sscanf(strstr(start, "<Address>"), "<Address>%lx", &start_address) != 1)
        return puts("no AcquisitionStart"), 1;

    size = sizeof stream_id;
    DO(DevGetDataStreamID, device, 0, stream_id, &size);
    DO(DevOpenDataStream, device, stream_id, &stream);
    DO(GCRegisterEvent, stream, EVENT_NEW_BUFFER, &event);
    for (int i = 0; i < 4; i++)
    {
        DO(DSAllocAndAnnounceBuffer, stream, 2448 * 2048, NULL, &buffer);
        DO(DSQueueBuffer, stream, buffer);
    }
    DO(DSStartAcquisition, stream, ACQ_START_FLAGS_DEFAULT, 1);
    size = sizeof one;
    DO(GCWritePort, camera, start_address, &one, &size);
    size = sizeof frame;
    DO(EventGetData, event, &frame, &size, 10000);
    unsigned char *pixels = NULL;
    size = sizeof pixels;
    DO(DSGetBufferInfo, stream, frame.BufferHandle, BUFFER_INFO_BASE, &type, &pixels, &size);
    printf("one frame through %s, its middle pixel is %u\n", files.gl_pathv[0], pixels[1024 * 2448 + 1224]);
    DO(GCCloseLib, );
    return 0;
}
