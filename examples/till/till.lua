-- Shows an item on the display: luajit till.lua NAME PRICE [DEVICE [SETTING]] > /dev/ttyUSB0
local ffi = require("ffi")
ffi.cdef [[ // from engine/kestrix_disp.h
typedef struct KestrixDisp KestrixDisp;
KestrixDisp* kestrix_disp_new(void);
void kestrix_disp_free(KestrixDisp* display);
short kestrix_disp_parse(KestrixDisp* display, const char* document, size_t documentLength,
                         const char* device, const char* setting, const unsigned char** bytes,
                         size_t* length);
const char* kestrix_disp_message(const KestrixDisp* display, unsigned long* line);
const char* kestrix_disp_status_text(short status); ]]
local kestrix = ffi.load("libkestrixdispengine.so.1")

-- A text may have any character, but not these as they are.
local function escaped(text)
    return (text:gsub("[&<>]", { ["&"] = "&amp;", ["<"] = "&lt;", [">"] = "&gt;" }))
end

local name, price, device, setting = unpack(arg)
if not price then
    io.stderr:write("usage: till.lua NAME PRICE [DEVICE [SETTING]]\n")
    os.exit(2)
end
local document = "<ovix-display><clear/><text x='1' y='1'>" .. escaped(name) ..
    "</text><text x='1' y='2'>" .. escaped(price) .. "</text><cursor type='none'/></ovix-display>"

local display = ffi.gc(kestrix.kestrix_disp_new(), kestrix.kestrix_disp_free)
local bytes, length = ffi.new("const unsigned char*[1]"), ffi.new("size_t[1]")
local status = kestrix.kestrix_disp_parse(display, document, #document, device or "default",
    setting or "DEFAULT", bytes, length)
local wrong = kestrix.kestrix_disp_message(display, nil)
if status < 0 then wrong = kestrix.kestrix_disp_status_text(status) end
if wrong ~= nil then
    io.stderr:write("till: ", ffi.string(wrong), "\n")
    os.exit(1)
end
io.write(ffi.string(bytes[0], length[0]))

if not io.stdout:close() then
    io.stderr:write("till: the output cannot be written\n")
    os.exit(1)
end
