"""Installs the build, and uses it as a stranger does.

install_test.py CMAKE SOURCE BUILD CHECK [CHECK...], where a check is the name of a function below.
Exit status 77 is a test that could not run for want of a program.
"""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77
CMAKE, SOURCE, BUILD = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          errors="replace", **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def expect(condition, message):
    if not condition:
        sys.exit(message)


def need(*programs):
    for program in programs:
        if shutil.which(program) is None:
            print(f"skipped: {program} is not installed")
            sys.exit(SKIPPED)


def installed(folder):
    prefix = folder / "prefix"
    run(CMAKE, "--install", BUILD, "--prefix", prefix)
    return prefix


def loadable(folder, prefix):
    data = prefix / "share/pdata/examples"
    made = folder / "loadable.pdb"
    run(prefix / "bin/pdata_compiler", "--pdd", data / "protocols.pdd", "--cfg-path", data / "cfg",
        "--loadable", "--pdb-out", made, cwd=folder)
    return made


def programs(folder):
    """The installed programs run, and say their versions."""
    prefix = installed(folder)
    version = run(prefix / "bin/pdata", "--version")
    expect(version.startswith("pdata 1.0.0\n"), version)
    pdb = loadable(folder, prefix)
    run(prefix / "bin/pdata", "verify", pdb)


def destdir(folder):
    """DESTDIR goes in front of the prefix, which the files name alone."""
    run("env", f"DESTDIR={folder}/stage", CMAKE, "--install", BUILD, "--prefix", "/opt/pdata")
    stage = folder / "stage/opt/pdata"
    expect((stage / "bin/pdata").exists(), "no program below DESTDIR")
    for name in stage.rglob("*"):
        if name.suffix in (".pc", ".cmake"):
            expect(str(folder) not in name.read_text(), f"{name} names the stage")


def components(folder):
    """Each file belongs to one of three components, and each component has files."""
    seen = {}
    for component in ("runtime", "development", "data"):
        place = folder / component
        run(CMAKE, "--install", BUILD, "--prefix", place, "--component", component)
        files = [str(name.relative_to(place)) for name in place.rglob("*") if not name.is_dir()]
        expect(files, f"component {component} is empty")
        for name in files:
            expect(name not in seen, f"{name} is in {component} and in {seen.get(name)}")
            seen[name] = component
    whole = installed(folder)
    files = {str(name.relative_to(whole)) for name in whole.rglob("*") if not name.is_dir()}
    expect(files == set(seen), f"in no component: {sorted(files - set(seen))}")


def package(folder):
    """A project elsewhere finds the library with find_package and with pkg-config."""
    need("pkg-config")
    prefix = installed(folder)
    pdb = loadable(folder, prefix)
    build = folder / "build"
    run(CMAKE, "-S", SOURCE / "tests/install/consumer", "-B", build,
        f"-DCMAKE_PREFIX_PATH={prefix}")
    run(CMAKE, "--build", build)
    source = SOURCE / "tests/install/consumer/hosts.c"
    flags = run("pkg-config", "--cflags", "--libs", "libpdata",
                env={"PATH": "/usr/bin:/bin", "PKG_CONFIG_PATH": str(prefix / "lib/pkgconfig")})
    run("cc", "-o", build / "hosts_pkgconfig", source, *flags.split(),
        f"-Wl,-rpath,{prefix}/lib")
    for kind in ("pdata", "pdata_static", "pkgconfig"):
        said = run(build / f"hosts_{kind}", pdb, "www.youtube.com")
        expect(said == "/ssl/youtube\n", f"{kind}: {said}")
    for kind in ("pdata", "pdata_static"):
        expect(run(build / f"version_{kind}") == "1.0\n", kind)


def subproject(folder):
    """As a subproject it forces neither its tests nor warnings as errors on anybody."""
    (folder / "CMakeLists.txt").write_text(
        "cmake_minimum_required(VERSION 3.21)\nproject(outer LANGUAGES C CXX)\n"
        f"add_subdirectory({SOURCE} pdata)\n")
    run(CMAKE, "-S", folder, "-B", folder / "build", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
        "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON")
    commands = (folder / "build/compile_commands.json").read_text()
    expect("-Werror" not in commands, "warnings are errors")
    expect("gtest" not in commands, "tests are built")


def pages(folder):
    """Manual pages have no faults, and name none that is not there."""
    need("mandoc")
    prefix = installed(folder)
    pages_found = sorted((prefix / "share/man").rglob("*.[135]"))
    names = {page.name for page in pages_found}
    for page in pages_found:
        done = subprocess.run(["mandoc", "-T", "lint", page], capture_output=True, text=True)
        faults = [line for line in done.stdout.splitlines()
                  if "referenced manual not found" not in line]
        expect(not faults, "\n".join(faults))
        for name, section in re.findall(r"^\.Xr (\S+) (\d)", page.read_text(), re.M):
            expect(f"{name}.{section}" in names, f"{page.name} names {name}({section})")


def commands_have_pages(folder):
    """Each subcommand of the help has a page with a text of its own, and the library's
    operations are all on the page of the library."""
    prefix = installed(folder)
    text = run(prefix / "bin/pdata", "--help")
    for name in re.findall(r"^  ([a-z]+) +[A-Z]", text, re.M):
        page = (prefix / f"share/man/man1/pdata-{name}.1").read_text()
        about = page.split(".Sh DESCRIPTION\n")[1].split(".Bl")[0]
        expect(len(about) > 80, f"{name} has no text in its page")
        shown = run(prefix / "bin/pdata", name, "--help")
        for option in re.findall(r"^  (?:-\w,)?--([a-z-]+)", shown, re.M):
            expect(rf"\-{option}" in page, f"page of {name} lacks --{option}")
    page = (prefix / "share/man/man3/pdata.3").read_text()
    for name in re.findall(r"^        (pdata_\w+);", (SOURCE / "pdata/src/match/pdata.map")
                           .read_text(), re.M):
        expect(f"Fn {name}" in page, f"pdata(3) lacks {name}")


def bash_replies(prefix, line, folder=None):
    script = (f"PATH={prefix}/bin:$PATH; . {prefix}/share/bash-completion/completions/pdata\n"
              f"COMP_LINE='{line}' COMP_POINT={len(line)}; _pdata; "
              "printf '%s\\n' \"${COMPREPLY[@]}\"")
    return run("bash", "-c", script, cwd=folder).split()


def hostile_names(folder, prefix):
    """A pdb with a protocol whose name a shell would run."""
    text = folder / "hostile.pdd"
    text.write_text('{"protocols": [{"name": "a$(touch RAN)`touch RAN`", "id": 16777217}]}')
    made = folder / "hostile.pdb"
    run(prefix / "bin/pdata_compiler", "--pdd", text, "--cfg-path",
        prefix / "share/pdata/examples/cfg", "--description", "--pdb-out", made, cwd=folder)
    return made


def completion_bash(folder):
    """Commands, options, words, files, protocols of a pdb."""
    prefix = installed(folder)
    pdb = loadable(folder, prefix)
    expect(bash_replies(prefix, "pdata li") == ["list"], "commands")
    expect(bash_replies(prefix, "pdata list --pro") == ["--protocols"], "options")
    expect(bash_replies(prefix, "pdata test --output-format ") == ["text", "json", "tap", "junit"],
           "words")
    expect(bash_replies(prefix, f"pdata list {pdb} --rules yout") == ["youtube"], "protocols")
    expect(bash_replies(prefix, f"pdata list {str(pdb)[:-3]}") == [str(pdb)], "files")
    expect(bash_replies(prefix, "pdata import dom") == ["domains"], "kinds")
    pdb = hostile_names(folder, prefix)
    expect(bash_replies(prefix, f"pdata list {pdb} --rules a$", folder) == ["a$(touch", "RAN)`touch", "RAN`"],
           "a name is a name")
    expect(not (folder / "RAN").exists(), "a name of a pdb was run")


def completion_zsh(folder):
    """zsh takes the file."""
    need("zsh")
    prefix = installed(folder)
    run("zsh", "-n", prefix / "share/zsh/vendor-completions/_pdata")


def completion_fish(folder):
    """Commands, options, words, protocols of a pdb."""
    need("fish")
    prefix = installed(folder)
    pdb = loadable(folder, prefix)

    def replies(line):
        script = (f"set -x PATH {prefix}/bin $PATH\n"
                  f"source {prefix}/share/fish/vendor_completions.d/pdata.fish\n"
                  f"complete -C '{line}'")
        lines = run("fish", "--no-config", "-c", script, env={
            "HOME": str(folder), "PATH": "/usr/bin:/bin", "TERM": "dumb"}).splitlines()
        return [word.split("\t")[0] for word in lines]

    expect(replies("pdata li") == ["list"], "commands")
    expect("--protocols" in replies("pdata list --pro"), "options")
    expect(replies("pdata test --output-format t") == ["tap", "text"], "words")
    expect("youtube" in replies(f"pdata list {pdb} --rules yout"), "protocols")


for check in sys.argv[4:]:
    with tempfile.TemporaryDirectory() as place:
        globals()[check](pathlib.Path(place).resolve())
