"""Frames of a GenTL camera as numpy arrays. Copy this file beside your program.

    import gentl

    with gentl.Camera() as camera:
        for frame in camera.frames(10):
            print(frame.image.shape, frame.image.mean())

The producer is the first .cti file of GENICAM_GENTL64_PATH. It needs Python's standard library and numpy alone.
"""

import ctypes
import io
import os
import pathlib
import re
import struct
import xml.etree.ElementTree
import zipfile

import numpy

# Names and numbers of the GenTL standard.
ACCESS_CONTROL = 3
EVENT_NEW_BUFFER = 1
FLUSH_ALL_DISCARD = 4
DEVICE_INFO = {"model": 2, "user name": 6, "serial number": 7}
STREAM_INFO = {"payload size": 7, "defines payload size": 9}
BUFFER_INFO = {"base": 0, "incomplete": 7, "width": 10, "height": 11, "padding": 14, "id": 16, "offset": 18,
               "format": 20, "timestamp": 28}
PART_INFO = {"base": 0, "format": 3, "width": 5, "height": 6, "padding": 9}

# Nodes that are what the register behind them is.
PLAIN_NODES = {"Integer", "Float", "Boolean", "Enumeration", "Command"}

# How a pixel lies in memory, by the top byte of the format's code (1: one sample, 2: several) and its bits. Packed
# formats are not here: their pixels have no addresses.
LAYOUTS = {(1, 8): ("u1", 1), (1, 16): ("<u2", 1), (1, 32): ("<f4", 1),
           (2, 16): ("u1", 2), (2, 24): ("u1", 3), (2, 48): ("<u2", 3), (2, 96): ("<f4", 3)}


class Error(Exception):
    """A call failed. `code` is the producer's GC_ERROR."""

    def __init__(self, text, code=-1001):
        super().__init__(text)
        self.code = code


def find_producer():
    """The first .cti file of GENICAM_GENTL64_PATH, whose entries are folders or files."""
    for entry in filter(None, os.environ.get("GENICAM_GENTL64_PATH", "").split(":")):
        path = pathlib.Path(entry)
        files = [path] if path.suffix == ".cti" else sorted(path.glob("*.cti"))
        if files:
            return str(files[0])
    raise Error("GENICAM_GENTL64_PATH names no folder with a .cti file; set it to your producer's folder")


class Producer:
    """A loaded producer: call() turns a failure into an Error with the producer's own text."""

    def __init__(self, path):
        self.path = path
        self._library = ctypes.CDLL(path)
        self.call("GCInitLib")

    def close(self):
        self.call("GCCloseLib")

    def call(self, name, *arguments):
        code = self._library[name](*arguments)
        if code != 0:
            raise Error(f"{self.path}: {name}: {self._last_error()} ({code})", code)

    def _last_error(self):
        text = ctypes.create_string_buffer(4096)
        size = ctypes.c_size_t(4096)
        self._library.GCGetLastError(ctypes.byref(ctypes.c_int32()), text, ctypes.byref(size))
        return text.value.decode(errors="replace")

    def handle(self, name, *arguments):
        """Calls a function whose last parameter receives a handle."""
        handle = ctypes.c_void_p()
        self.call(name, *arguments, ctypes.byref(handle))
        return handle

    def number(self, name, *arguments):
        """Calls a function whose last parameter receives an uint32_t."""
        number = ctypes.c_uint32()
        self.call(name, *arguments, ctypes.byref(number))
        return number.value

    def text(self, name, *arguments):
        """Calls a function whose last parameters receive a text and its size."""
        text = ctypes.create_string_buffer(4096)
        self.call(name, *arguments, text, ctypes.byref(ctypes.c_size_t(4096)))
        return text.value.decode(errors="replace")

    def info(self, name, *arguments, default=None):
        """Asks an info command and takes the answer by its type. With a default, it may be missing."""
        kind, answer, size = ctypes.c_int32(), ctypes.create_string_buffer(4096), ctypes.c_size_t(4096)
        try:
            self.call(name, *arguments, ctypes.byref(kind), answer, ctypes.byref(size))
        except Error:
            if default is None:
                raise
            return default
        if kind.value == 1:
            return answer.value.decode(errors="replace")
        signed = kind.value in (3, 5, 7, 14)
        return int.from_bytes(answer.raw[:size.value], "little", signed=signed)


class Features:
    """Features of a camera that are plain registers. What has a formula needs a GenApi library or gentlctl."""

    def __init__(self, producer, port):
        self._producer = producer
        self._port = port
        root = xml.etree.ElementTree.fromstring(self._document())
        self._nodes = {node.get("Name"): node for node in root.iter()
                       if node.get("Name") and self._kind(node) != "EnumEntry"}

    def execute(self, name):
        command = self._node(name)
        self._write(command, self._integer(command, "CommandValue"))

    def get(self, name):
        """A number, or the name of an enumeration's entry."""
        node = self._node(name)
        value = self._number(node)
        entries = self._entries(node)
        if not entries:
            return value
        names = [entry for entry in entries if self._integer(entries[entry], "Value") == value]
        if not names:
            raise Error(f"{name} has no entry with the value {value}")
        return names[0]

    def set(self, name, value):
        """Sets a number, or an enumeration by the name of its entry."""
        node = self._node(name)
        entries = self._entries(node)
        if entries:
            if value not in entries:
                raise Error(f"{name} has no entry {value}; it has {', '.join(entries)}")
            value = self._integer(entries[value], "Value")
        self._write(node, value)

    def _document(self):
        url = self._producer.text("GCGetPortURL", self._port)
        match = re.match(r"local:/*([^;]*);(?:0x)?([0-9a-f]+);(?:0x)?([0-9a-f]+)", url, re.IGNORECASE)
        if match:
            document = self._read(int(match[2], 16), int(match[3], 16))
        else:
            document = pathlib.Path(re.sub(r"^file:(//)?|\?.*$", "", url, flags=re.IGNORECASE)).read_bytes()
        if document.startswith(b"PK"):
            archive = zipfile.ZipFile(io.BytesIO(document))
            document = archive.read(archive.namelist()[0])
        return document.rstrip(b"\0")

    def _node(self, name):
        if name not in self._nodes:
            raise Error(f"The camera has no feature {name}")
        return self._nodes[name]

    @staticmethod
    def _entries(node):
        return {entry.get("Name"): entry for entry in node.findall("{*}EnumEntry")}

    @staticmethod
    def _kind(node):
        return node.tag.rpartition("}")[2]

    def _register(self, node):
        name = node.get("Name")
        while self._kind(node) in PLAIN_NODES and node.find("{*}pValue") is not None:
            node = self._node(node.findtext("{*}pValue"))
        if self._kind(node) not in ("IntReg", "FloatReg"):
            raise Error(f"{name} is no plain register; use a GenApi library, or gentlctl set")
        return node

    def _integer(self, node, what):
        """The sum of the literals <what> and of the nodes <pWhat> names: an address has several."""
        literals = sum(int(element.text, 0) for element in node.findall("{*}" + what))
        return literals + sum(self._number(self._node(element.text)) for element in node.findall("{*}p" + what))

    def _number(self, node):
        if node.find("{*}Value") is not None:
            return int(node.findtext("{*}Value"), 0)
        register = self._register(node)
        return self._decode(register, self._read(self._integer(register, "Address"), self._length(register)))

    def _length(self, register):
        return self._integer(register, "Length")

    def _form(self, register):
        order = ">" if register.findtext("{*}Endianess") == "BigEndian" else "<"
        kinds = "  fd" if self._kind(register) == "FloatReg" else "BHIQ"
        return order + kinds[self._length(register).bit_length() - 1]

    def _decode(self, register, data):
        return struct.unpack(self._form(register), data)[0]

    def _write(self, node, value):
        register = self._register(node)
        data = struct.pack(self._form(register), value)
        address, size = ctypes.c_uint64(self._integer(register, "Address")), ctypes.c_size_t(len(data))
        self._producer.call("GCWritePort", self._port, address, data, ctypes.byref(size))

    def _read(self, address, length):
        data = ctypes.create_string_buffer(length)
        self._producer.call("GCReadPort", self._port, ctypes.c_uint64(address), data,
                            ctypes.byref(ctypes.c_size_t(length)))
        return data.raw


class Frame:
    """A frame. `data` has all bytes. They and the images are views of the buffer, which hold until the loop asks for
    the next frame."""

    def __init__(self, producer, stream, buffer, memory):
        self.data = memory
        answers = {name: producer.info("DSGetBufferInfo", stream, buffer, command, default=0)
                   for name, command in BUFFER_INFO.items()}
        self.id = answers["id"]
        self.timestamp = answers["timestamp"]
        self.incomplete = bool(answers["incomplete"])
        try:
            parts = producer.number("DSGetNumBufferParts", stream, buffer)
        except Error:  # the camera sends plain images
            parts = 0
        self._places = [(answers, answers["offset"])] if parts == 0 else []
        for index in range(parts):
            part = {name: producer.info("DSGetBufferPartInfo", stream, buffer, index, command, default=0)
                    for name, command in PART_INFO.items()}
            self._places.append((part, part["base"] - memory.ctypes.data))

    @property
    def image(self):
        """The first image. `data` has the bytes of a frame that is none, or whose format is packed."""
        return self._view(*self._places[0])

    @property
    def images(self):
        return [self._view(*place) for place in self._places]

    def _view(self, answers, offset):
        """The pixels as (height, width) or (height, width, samples)."""
        code = answers["format"]
        layout = LAYOUTS.get((code >> 24, code >> 16 & 0xFF))
        if layout is None:
            raise Error(f"A pixel of the format 0x{code:08X} has {code >> 16 & 0xFF} bits, which no array has: set "
                        "PixelFormat to an unpacked format, or take frame.data")
        kind, samples = numpy.dtype(layout[0]), layout[1]
        pixel = kind.itemsize * samples
        row = answers["width"] * pixel + answers["padding"]
        image = numpy.ndarray((answers["height"], answers["width"], samples), kind, self.data.data, offset,
                              (row, pixel, kind.itemsize))
        return image if samples > 1 else image[:, :, 0]


class Camera:
    """An open camera: the first that can be opened, or that of an id, model, user name or serial number."""

    def __init__(self, device=None, producer=None):
        self._producer = Producer(producer or find_producer())
        self._closing = [("GCCloseLib",)]
        try:
            self._open(device)
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self._close_all_but(0)

    def frames(self, count, buffers=4, timeout_ms=5000):
        """Starts the camera and yields `count` frames. The camera stops when the loop ends, however it ends."""
        producer, stream = self._producer, self._stream
        size = self._payload_size()
        event = producer.handle("GCRegisterEvent", stream, EVENT_NEW_BUFFER)
        memories = {}
        try:
            for _ in range(buffers):
                memory = numpy.empty(size, numpy.uint8)
                buffer = producer.handle("DSAnnounceBuffer", stream, ctypes.c_void_p(memory.ctypes.data),
                                         ctypes.c_size_t(size), None)
                memories[buffer.value] = memory
                producer.call("DSQueueBuffer", stream, buffer)
            producer.call("DSStartAcquisition", stream, 0, ctypes.c_uint64(0xFFFFFFFFFFFFFFFF))
            try:
                self.features.execute("AcquisitionStart")
                for _ in range(count):
                    filled = (ctypes.c_void_p * 2)()
                    producer.call("EventGetData", event, filled, ctypes.byref(ctypes.c_size_t(16)),
                                  ctypes.c_uint64(timeout_ms))
                    buffer = ctypes.c_void_p(filled[0])
                    yield Frame(producer, stream, buffer, memories[buffer.value])
                    producer.call("DSQueueBuffer", stream, buffer)
            finally:
                self.features.execute("AcquisitionStop")
                producer.call("DSStopAcquisition", stream, 0)
        finally:
            producer.call("DSFlushQueue", stream, FLUSH_ALL_DISCARD)
            for buffer in memories:
                producer.call("DSRevokeBuffer", stream, ctypes.c_void_p(buffer), None, None)
            producer.call("GCUnregisterEvent", stream, EVENT_NEW_BUFFER)

    def _payload_size(self):
        """Bytes of a frame. A producer need not know them; then the camera does."""
        if self._producer.info("DSGetInfo", self._stream, STREAM_INFO["defines payload size"], default=1):
            return self._producer.info("DSGetInfo", self._stream, STREAM_INFO["payload size"])
        return self.features.get("PayloadSize")

    def _open(self, wanted):
        """Tries the cameras one after the other. close() undoes the openings, the last one first."""
        system = self._keep("TLClose", self._producer.handle("TLOpen"))
        reasons, known = [], []
        for name in self._names("TLUpdateInterfaceList", "TLGetNumInterfaces", "TLGetInterfaceID", system):
            interface = self._keep("IFClose", self._producer.handle("TLOpenInterface", system, name.encode()))
            for device in self._names("IFUpdateDeviceList", "IFGetNumDevices", "IFGetDeviceID", interface):
                titles = self._titles(interface, device)
                known.append(f"{device} ({titles[1]})")
                if wanted is None or wanted in titles:
                    try:
                        return self._open_device(interface, device)
                    except Error as error:
                        self._close_all_but(3)
                        reasons.append(str(error))
            self._close_all_but(2)
        raise Error("\n".join(reasons) or f"{self._producer.path}: no camera {wanted or ''} found; there is "
                    f"{', '.join(known) or 'none'}")

    def _open_device(self, interface, name):
        self.name = name
        device = self._producer.handle("IFOpenDevice", interface, name.encode(), ACCESS_CONTROL)
        self._keep("DevClose", device)
        self.features = Features(self._producer, self._producer.handle("DevGetPort", device))
        stream = self._producer.text("DevGetDataStreamID", device, 0).encode()
        self._stream = self._keep("DSClose", self._producer.handle("DevOpenDataStream", device, stream))

    def _close_all_but(self, number):
        while len(self._closing) > number:
            self._producer.call(*self._closing.pop())

    def _keep(self, close, handle):
        self._closing.append((close, handle))
        return handle

    def _names(self, update, count, name, parent):
        self._producer.call(update, parent, None, ctypes.c_uint64(1000))
        number = self._producer.number(count, parent)
        return [self._producer.text(name, parent, ctypes.c_uint32(index)) for index in range(number)]

    def _titles(self, interface, name):
        return [name] + [self._producer.info("IFGetDeviceInfo", interface, name.encode(), command, default="")
                         for command in DEVICE_INFO.values()]
