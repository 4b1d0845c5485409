/* Prints what ten frames of a camera hold: grab [ID]. All calls stand here in their order. */
#include <dlfcn.h>
#include <gentl/gentl.h>
#include <glob.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <zip.h>

enum
{
    BUFFERS = 4,
    FRAMES = 10,
    TEXT = 4096
};

static void *producer;

static void Fail(const char *what)
{
    fprintf(stderr, "%s\n", what);
    exit(1);
}

/* A function of the producer, with the type of its declaration. */
#define GENTL(name) ((__typeof__(&name))dlsym(producer, #name))
#define CALL(name, ...) Check(#name, GENTL(name)(__VA_ARGS__))

static void Check(const char *name, GC_ERROR result)
{
    if (result != GC_ERR_SUCCESS)
    {
        char text[TEXT] = "";
        size_t size = sizeof text;
        GENTL(GCGetLastError)(&result, text, &size);
        fprintf(stderr, "%s: %s (%d)\n", name, text, result);
        exit(1);
    }
}

/* Loads the first entry of GENICAM_GENTL64_PATH: a folder with a .cti file, or such a file. */
static void LoadProducer(void)
{
    const char *variable = getenv("GENICAM_GENTL64_PATH");
    char entry[TEXT];
    char pattern[TEXT + sizeof "/*.cti"];
    glob_t files;
    if (!variable || sscanf(variable, "%4095[^:]", entry) != 1)
    {
        Fail("GENICAM_GENTL64_PATH is not set");
    }
    snprintf(pattern, sizeof pattern, "%s/*.cti", entry);
    const int found = glob(pattern, 0, NULL, &files);
    producer = dlopen(found == 0 ? files.gl_pathv[0] : entry, RTLD_NOW);
    if (!producer)
    {
        Fail(dlerror());
    }
}

/* Opens the first device that lets itself be opened, or the one of this id. */
static DEV_HANDLE OpenDevice(TL_HANDLE system, const char *wanted, IF_HANDLE *interface)
{
    uint32_t interfaces = 0;
    CALL(TLUpdateInterfaceList, system, NULL, 1000);
    CALL(TLGetNumInterfaces, system, &interfaces);
    for (uint32_t i = 0; i < interfaces; ++i)
    {
        char id[TEXT];
        size_t size = sizeof id;
        uint32_t devices = 0;
        CALL(TLGetInterfaceID, system, i, id, &size);
        CALL(TLOpenInterface, system, id, interface);
        CALL(IFUpdateDeviceList, *interface, NULL, 1000);
        CALL(IFGetNumDevices, *interface, &devices);
        for (uint32_t k = 0; k < devices; ++k)
        {
            DEV_HANDLE device = NULL;
            size = sizeof id;
            CALL(IFGetDeviceID, *interface, k, id, &size);
            if ((!wanted || strcmp(wanted, id) == 0) &&
                GENTL(IFOpenDevice)(*interface, id, DEVICE_ACCESS_CONTROL, &device) == GC_ERR_SUCCESS)
            {
                printf("Opened %s\n", id);
                return device;
            }
        }
        CALL(IFClose, *interface);
    }
    Fail("No camera can be opened");
    return NULL;
}

/* The text of a description that is stored as an archive. */
static char *Unpacked(char *archive, size_t *length)
{
    zip_stat_t entry;
    zip_source_t *source = zip_source_buffer_create(archive, *length, 0, NULL);
    zip_t *zip = source ? zip_open_from_source(source, ZIP_RDONLY, NULL) : NULL;
    if (!zip || zip_stat_index(zip, 0, 0, &entry) != 0)
    {
        Fail("The archive of the camera's description cannot be read");
    }
    zip_file_t *file = zip_fopen_index(zip, 0, 0);
    char *text = malloc(entry.size);
    if (!file || !text || zip_fread(file, text, entry.size) != (zip_int64_t)entry.size)
    {
        Fail("The archive of the camera's description is damaged");
    }
    *length = entry.size;
    zip_fclose(file);
    zip_discard(zip);
    free(archive);
    return text;
}

/* The camera's description: "local:name;address;length", in hexadecimal. */
static xmlDoc *ReadDescription(PORT_HANDLE port)
{
    char url[TEXT] = "";
    size_t size = sizeof url;
    unsigned long long address = 0;
    unsigned long long length = 0;
    CALL(GCGetPortURL, port, url, &size);
    if (sscanf(url, "%*[^;];%llx;%llx", &address, &length) != 2)
    {
        Fail(url);
    }
    size = length;
    char *text = malloc(size);
    CALL(GCReadPort, port, address, text, &size);
    if (memcmp(text, "PK", 2) == 0)
    {
        text = Unpacked(text, &size);
    }
    xmlDoc *document = xmlReadMemory(text, (int)strnlen(text, size), NULL, NULL, XML_PARSE_HUGE);
    free(text);
    if (!document)
    {
        Fail("The camera's description is no XML");
    }
    return document;
}

/* The text of an element in the node of this name. */
static void ReadText(xmlDoc *document, const char *node, const char *element, char *text)
{
    char path[2 * TEXT];
    snprintf(path, sizeof path, "string(//*[@Name = '%s']/*[local-name() = '%s'])", node, element);
    xmlXPathContext *context = xmlXPathNewContext(document);
    xmlXPathObject *found = xmlXPathEvalExpression((const xmlChar *)path, context);
    snprintf(text, TEXT, "%s", (const char *)found->stringval);
    xmlXPathFreeObject(found);
    xmlXPathFreeContext(context);
}

/* A number in a node: 0x1F00 or 7936. */
static uint64_t ReadNumber(xmlDoc *document, const char *node, const char *element)
{
    char text[TEXT];
    char *end = NULL;
    ReadText(document, node, element, text);
    const uint64_t number = strtoull(text, &end, 0);
    if (end == text)
    {
        Fail("A feature is no plain register: use a GenApi library");
    }
    return number;
}

/* Writes a command's value into its register. Features behind formulas need a GenApi library. */
static void Execute(PORT_HANDLE port, xmlDoc *document, const char *command)
{
    char place[TEXT];
    ReadText(document, command, "pValue", place);
    size_t size = ReadNumber(document, place, "Length");
    const uint64_t value = ReadNumber(document, command, "CommandValue");
    CALL(GCWritePort, port, ReadNumber(document, place, "Address"), &value, &size); /* little-endian */
}

/* The value of a register of at most eight bytes. */
static uint64_t ReadRegister(PORT_HANDLE port, xmlDoc *document, const char *feature)
{
    char place[TEXT];
    ReadText(document, feature, "pValue", place);
    uint64_t value = 0; /* little-endian */
    size_t size = ReadNumber(document, place, "Length");
    CALL(GCReadPort, port, ReadNumber(document, place, "Address"), &value, &size);
    return value;
}

/* Bytes of a frame. A producer need not know them; then the camera does. */
static size_t PayloadSize(DS_HANDLE stream, PORT_HANDLE port, xmlDoc *document)
{
    bool8_t defined = 1;
    size_t payload = 0;
    size_t size = sizeof defined;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    GENTL(DSGetInfo)(stream, STREAM_INFO_DEFINES_PAYLOADSIZE, &type, &defined, &size);
    if (!defined)
    {
        return ReadRegister(port, document, "PayloadSize");
    }
    size = sizeof payload;
    CALL(DSGetInfo, stream, STREAM_INFO_PAYLOAD_SIZE, &type, &payload, &size);
    return payload;
}

static uint64_t BufferNumber(DS_HANDLE stream, BUFFER_HANDLE buffer, BUFFER_INFO_CMD what)
{
    uint64_t number = 0;
    size_t size = sizeof number;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    CALL(DSGetBufferInfo, stream, buffer, what, &type, &number, &size);
    return number;
}

static void PrintPixels(const uint8_t *pixels, uint64_t count)
{
    uint64_t sum = 0;
    for (uint64_t i = 0; i < count; ++i)
    {
        sum += pixels[i];
    }
    printf("mean %.1f\n", (double)sum / (double)count);
}

/* A grid of points x, y, z. A pixel without depth has z 0. */
static void PrintPoints(const float *points, uint64_t count)
{
    uint64_t valid = 0;
    for (uint64_t i = 0; i < count; ++i)
    {
        valid += points[3 * i + 2] != 0;
    }
    printf("%llu points\n", (unsigned long long)valid);
}

static void PrintFrame(DS_HANDLE stream, BUFFER_HANDLE buffer)
{
    const uint64_t width = BufferNumber(stream, buffer, BUFFER_INFO_WIDTH);
    const uint64_t height = BufferNumber(stream, buffer, BUFFER_INFO_HEIGHT);
    const void *base = (const void *)(uintptr_t)BufferNumber(stream, buffer, BUFFER_INFO_BASE);
    printf("%llu x %llu, ", (unsigned long long)width, (unsigned long long)height);
    switch (BufferNumber(stream, buffer, BUFFER_INFO_PIXELFORMAT))
    {
    case 0x01080001: /* Mono8 */
    case 0x01080009: /* BayerRG8 */
        PrintPixels(base, width * height);
        break;
    case 0x026000C0: /* Coord3D_ABC32f */
        PrintPoints(base, width * height);
        break;
    default:
        printf("in a format that this program does not know\n");
    }
}

static void PrintFrames(DS_HANDLE stream, EVENT_HANDLE event)
{
    for (int i = 0; i < FRAMES; ++i)
    {
        EVENT_NEW_BUFFER_DATA filled;
        size_t size = sizeof filled;
        CALL(EventGetData, event, &filled, &size, 5000);
        PrintFrame(stream, filled.BufferHandle);
        CALL(DSQueueBuffer, stream, filled.BufferHandle);
    }
}

static void Grab(DS_HANDLE stream, PORT_HANDLE port, xmlDoc *document)
{
    EVENT_HANDLE event = NULL;
    BUFFER_HANDLE buffers[BUFFERS];
    const size_t payload = PayloadSize(stream, port, document);
    CALL(GCRegisterEvent, stream, EVENT_NEW_BUFFER, &event);
    for (int i = 0; i < BUFFERS; ++i)
    {
        CALL(DSAllocAndAnnounceBuffer, stream, payload, NULL, &buffers[i]);
        CALL(DSQueueBuffer, stream, buffers[i]);
    }
    CALL(DSStartAcquisition, stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
    Execute(port, document, "AcquisitionStart");
    PrintFrames(stream, event);
    Execute(port, document, "AcquisitionStop");
    CALL(DSStopAcquisition, stream, ACQ_STOP_FLAGS_DEFAULT);
    CALL(DSFlushQueue, stream, ACQ_QUEUE_ALL_DISCARD);
    for (int i = 0; i < BUFFERS; ++i)
    {
        CALL(DSRevokeBuffer, stream, buffers[i], NULL, NULL);
    }
    CALL(GCUnregisterEvent, stream, EVENT_NEW_BUFFER);
}

int main(int argc, char **argv)
{
    TL_HANDLE system = NULL;
    IF_HANDLE interface = NULL;
    PORT_HANDLE port = NULL;
    DS_HANDLE stream = NULL;
    char id[TEXT];
    size_t size = sizeof id;
    LoadProducer();
    CALL(GCInitLib);
    CALL(TLOpen, &system);
    const DEV_HANDLE device = OpenDevice(system, argc > 1 ? argv[1] : NULL, &interface);
    CALL(DevGetPort, device, &port);
    CALL(DevGetDataStreamID, device, 0, id, &size);
    CALL(DevOpenDataStream, device, id, &stream);
    xmlDoc *document = ReadDescription(port);
    Grab(stream, port, document);
    xmlFreeDoc(document);
    CALL(DSClose, stream);
    CALL(DevClose, device);
    CALL(IFClose, interface);
    CALL(TLClose, system);
    CALL(GCCloseLib);
    return 0;
}
