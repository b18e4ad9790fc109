// mutils: the library's operations from the shell.
//
// Exit status: 0 on success, 1 when an operation fails (one line on stderr naming the
// subcommand and the library's message), 2 on usage errors.
#include <cstdio>

#include "cli.h"

int main(int argc, char** argv) {
    CLI::App app{"mutils: matrix, image and signal operations on files"};
    app.set_version_flag("--version", std::string("mutils ") + MUTILS_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    cli::register_matrix_commands(app);
    cli::register_image_commands(app);
    cli::register_filter_commands(app);
    cli::register_geometry_commands(app);
    cli::register_contour_commands(app);
    cli::register_signal_commands(app);
    cli::register_shape_commands(app);
    cli::register_demo(app);

    // Notes printed while a subcommand runs name it, like its error lines.
    for (int i = 1; i < argc && cli::program == "mutils"; ++i)
        if (!app.get_subcommands([&](CLI::App* sub) { return sub->check_name(argv[i]); }).empty())
            cli::program = std::string("mutils ") + argv[i];
    std::string current = "mutils";
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        // One line naming the subcommand being parsed, like the operation failures.
        std::string where = "mutils";
        for (const CLI::App* sub = &app; !sub->get_subcommands().empty();) {
            sub = sub->get_subcommands().back();
            where += " " + sub->get_name();
        }
        std::fprintf(stderr, "%s: %s (see %s --help)\n", where.c_str(), e.what(), where.c_str());
        return 2;
    } catch (const cli::Failure& e) {
        for (auto* sub : app.get_subcommands()) current = "mutils " + sub->get_name();
        std::fprintf(stderr, "%s: %s\n", current.c_str(), e.what());
        return 1;
    } catch (const Hux::Error& e) {
        for (auto* sub : app.get_subcommands()) current = "mutils " + sub->get_name();
        std::fprintf(stderr, "%s: %s\n", current.c_str(), e.what());
        return 1;
    } catch (const cli::ExitStatus& e) {
        return e.status;
    }
    return 0;
}
