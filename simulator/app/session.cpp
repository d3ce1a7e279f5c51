#include "app/session.h"

#include "af/lens_ctrl.h"
#include "app/bad_input.h"
#include "app/calibration_check.h"
#include "app/recording.h"
#include "app/scenes.h"
#include "app/state_folder.h"
#include "app/text.h"
#include "engine/engine.h"
#include "host/lens.h"
#include "host/lens_service.h"
#include "host/shading_file.h"
#include "host/store.h"
#include "host/vendor_storage.h"
#include "isp_auto_iris.h"
#include "isp_ctrl.h"
#include "isp_ctrl/core/context.h"
#include "isp_ctrl/core/seam.h"

#include <atomic>
#include <charconv>
#include <filesystem>
#include <iostream>

namespace app
{

namespace
{

// The library keeps pointers into these.
std::string folder, calibration_file, shading_file, iris_file, otp_file, lens_command;

std::function<void()> frame_callback;
sim::host::LensService lens_service;
bool iris_loop_started = false;
bool stays_paced = false;
std::atomic<bool> iris_on = false; // read by any thread

std::string saved_store; // as last loaded or saved, to write only what changed

void run_frame()
{
    constexpr double kSeconds = kFramePeriod / 1e6;
    if (iris_loop_started) {
        lens_service.poll();
    }
    sim::host::step_lens(kSeconds);
    if (iris_loop_started) {
        lens_service.publish();
    }
    sim::engine::set_aperture(kZoomCamera, sim::host::lens_transmission());
    meter_scenes();
    sim::engine::run_frame(kSeconds);
    if (frame_callback) {
        frame_callback();
    }
}

std::string store_as_text()
{
    std::string text;
    for (int camera = 0; camera < kCameras; ++camera) {
        for (const sim::host::Setting& setting : sim::host::kSettings) {
            text += std::to_string(sim::host::stored(camera, setting)) + ' ';
        }
    }
    return text;
}

/// Takes file names apart from the library's fixed ones.
void point_library_at_folder()
{
    calibration_file = folder + "/wb.dat";
    shading_file = folder + "/shading.data";
    iris_file = folder + "/sm_af_iris_value";
    otp_file = folder + "/otp_eeprom";
    isp::seam.wb_calibration_file = calibration_file.c_str();
    isp::seam.shading_file = shading_file.c_str();
    isp::seam.iris_device = iris_file.c_str();
    isp::seam.otp_file = otp_file.c_str();
    fit_lens("none");
}

} // namespace

namespace
{

/// What the library and the host write at once: a folder that takes these files takes the others.
void prepare_files()
{
    point_library_at_folder();
    std::error_code error;
    if (!std::filesystem::exists(shading_file, error)) {
        const std::string failed = sim::host::write_shading_file(shading_file);
        if (!failed.empty()) {
            throw BadInput(failed);
        }
    }
}

void enter(const std::string& path, bool look_only)
{
    StateFolder state = look_only ? copy_of_folder(path, "") : enter_folder(path);
    folder = state.path;
    try {
        prepare_files();
    } catch (const BadInput& error) {
        if (state.copied) {
            throw;
        }
        state = copy_of_folder(path, error.what());
        folder = state.path;
        prepare_files();
    }
    if (!state.note.empty()) {
        std::cerr << "isp-sim: " << printable(state.note) << '\n';
    }
}

void load_settings()
{
    const std::string path = store_path();
    std::error_code error;
    if (std::filesystem::file_size(path, error) == 0 && !error) {
        std::filesystem::rename(path, path + ".empty", error);
        std::cerr << "isp-sim: settings.ini is empty, as after a crash: every setting has its initial value"
                  << (error ? "" : "; it is kept as settings.ini.empty") << '\n';
    }
    const sim::host::FileResult loaded = sim::host::load_store(path);
    if (!loaded && loaded.status != sim::host::FileResult::Status::missing) {
        throw BadInput(loaded.message);
    }
    saved_store = loaded ? store_as_text() : std::string();
}

} // namespace

void open_session(const std::string& path, bool look_only)
{
    sim::install_clock();
    sim::engine::reset();
    sim::host::reset_store();
    reset_scenes();
    enter(path, look_only);
    load_settings();
    for (int camera = 0; camera < kCameras; ++camera) {
        set_illuminant(camera, "D50");
    }
    report_changed_calibration();
    sim::every(kFramePeriod, run_frame);
    sim::wait(1); // from here on simulated time waits for this thread
}

void close_session()
{
    leave_folder();
    stop_recording();
}

void save_session()
{
    std::string text = store_as_text();
    if (text == saved_store) {
        return;
    }
    const sim::host::FileResult saved = sim::host::save_store(store_path());
    if (!saved) {
        throw BadInput(saved.message);
    }
    saved_store = std::move(text);
}

std::string session_folder()
{
    return folder;
}

std::string store_path()
{
    return folder + "/settings.ini";
}

std::string shading_path()
{
    return shading_file;
}

std::string calibration_path()
{
    return calibration_file;
}

bool start_camera(int camera)
{
    if (rk_isp_init(camera, folder.data()) != 0) {
        return false;
    }
    KIV_load_isp_para(camera);
    return true;
}

const void* engine_of(int camera)
{
    return rkipc_aiq_get_ctx(camera);
}

bool has_engine(int camera)
{
    return engine_of(camera) != nullptr;
}

std::vector<int> cameras_with_engine()
{
    std::vector<int> cameras;
    for (int camera = 0; camera < kCameras; ++camera) {
        if (has_engine(camera)) {
            cameras.push_back(camera);
        }
    }
    return cameras;
}

void fit_lens(const std::string& model)
{
    std::string failed;
    lens_command = sim::host::lens_command_for(model == "none" ? std::string() : model, folder, &failed);
    if (lens_command.empty()) {
        throw BadInput("cannot write the lens model: " + failed);
    }
    isp::seam.lens_command = lens_command.c_str();
}

void set_auto_iris_on(bool on)
{
    if (on && !iris_loop_started) {
        const std::string failed = lens_service.open(iris_file, 0);
        if (!failed.empty()) {
            throw BadInput(failed);
        }
        isp::seam.lens_service_port = static_cast<unsigned short>(lens_service.port());
        lens_service.publish();
        if (init_auto_iris_control(set_auto_iris) != 0) {
            throw BadInput("the iris loop does not start");
        }
        iris_loop_started = true;
        sim::await_waiting(1);
    }
    iris_on = on;
    iris_mode(on ? 1 : 0);
}

bool auto_iris_on()
{
    return iris_on;
}

void set_illuminant(int camera, const std::string& name)
{
    double kelvin = 0.0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), kelvin);
    if (error == std::errc{} && end == name.data() + name.size()) {
        const bool usual = kelvin >= 1500.0 && kelvin <= 12000.0;
        if (!usual) {
            throw BadInput("an illuminant has 1500 to 12000 K or a name: A, TL84, D50, D65");
        }
        sim::engine::set_illuminant(camera, kelvin);
    } else if (!sim::engine::set_illuminant(camera, name)) {
        throw BadInput("unknown illuminant " + name + "; give kelvin or A, TL84, D50, D65");
    }
}

void on_frame(std::function<void()> callback)
{
    frame_callback = std::move(callback);
}

void keep_time_paced()
{
    stays_paced = true;
    sim::use_paced_time(1.0);
}

bool time_stays_paced()
{
    return stays_paced;
}

double seconds_now()
{
    return static_cast<double>(sim::now()) / 1e6;
}

} // namespace app
