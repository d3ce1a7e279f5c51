// Fuzzes the contents of the files that are read: the first byte chooses which, the rest is the file, or changes to a
// valid one (place, two bytes; new byte).
#include "fuzz_world.h"
#include "host/shading_file.h"

#include <cstring>
#include <functional>

namespace
{

std::string read_all(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string changed(std::string text, std::string_view changes)
{
    for (; changes.size() >= 3 && !text.empty(); changes.remove_prefix(3)) {
        const auto place = static_cast<std::size_t>(static_cast<unsigned char>(changes[0]) * 256 +
                                                    static_cast<unsigned char>(changes[1]));
        text[place % text.size()] = changes[2];
    }
    return text;
}

void load_calibration(const std::string& path)
{
    for (const int camera : {0, 2, 3}) {
        rk_isp_init(camera, nullptr);
    }
    awb_calibration_s record{};
    user_load_wb_calibration_file(&record, sizeof record);
    Awb_Calibration(2);
    fuzz::require(!std::filesystem::exists(path) || std::filesystem::file_size(path) <= 4096, "the file stays small");
    fuzz::require_no_misuse();
}

void load_shading(const std::string& path)
{
    sim::host::check_shading_file(path);
    rk_isp_init(0, nullptr);
    const auto before = sim::engine::snapshot(g_aiq_ctx[0]);
    const bool whole = std::filesystem::file_size(path) >= sizeof(sim::host::ShadingFile);
    fuzz::require(KIV_Set_shading(0) == (whole ? 0 : -1), "a whole shading file is applied, no other");
    fuzz::require(whole || sim::engine::snapshot(g_aiq_ctx[0]) == before, "a short shading file leaves the engine");
}

void load_settings(const std::string& path)
{
    const auto before = sim::host::stored_record(3);
    if (!sim::host::load_store(path)) {
        const auto after = sim::host::stored_record(3);
        fuzz::require(std::memcmp(&before, &after, sizeof before) == 0, "a damaged file changes nothing");
        return;
    }
    const auto loaded = sim::host::stored_record(3);
    fuzz::require(static_cast<bool>(sim::host::save_store(path)), "what was loaded can be saved");
    fuzz::require(static_cast<bool>(sim::host::load_store(path)), "what was saved can be loaded");
    const auto again = sim::host::stored_record(3);
    fuzz::require(std::memcmp(&loaded, &again, sizeof loaded) == 0, "what was saved is what was loaded");
}

class Files : public fuzz::World
{
public:
    void run(std::uint8_t kind, std::string_view bytes)
    {
        const std::string settings = folder + "/settings.ini";
        const struct {
            const std::string& path;
            std::function<void(const std::string& path)> write_valid, load;
        } files[] = {
            {wb_file, {}, load_calibration},
            {otp_file, {}, [](const std::string&) { getreadotp(); }},
            {shading_file, {}, load_shading},
            {shading_file, [](const std::string& path) { sim::host::write_shading_file(path); }, load_shading},
            {settings, {}, load_settings},
            {settings, [](const std::string& path) { sim::host::save_store(path); }, load_settings},
        };
        const auto& [path, write_valid, load] = files[kind % std::size(files)];
        if (write_valid) {
            write_valid(path);
        }
        bench::write_bytes(path, write_valid ? changed(read_all(path), bytes) : bytes);
        load(path);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 0) {
        Files().run(data[0], {reinterpret_cast<const char*>(data + 1), size - 1});
    }
    return 0;
}
