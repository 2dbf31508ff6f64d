"""Runs the programs of a build, as support/process.h does for the tests in C++."""
import contextlib, os, re, subprocess, threading, time, types


def run(command, variables={}, limit=30):
    """Output, errors, status (None: ended by the limit) and the seconds that it took."""
    plain = {name: value for name, value in os.environ.items() if not name.startswith("TVK_")}
    start = time.monotonic()
    try:
        got = subprocess.run(command, env={**plain, **variables}, timeout=limit, capture_output=True)
        status = got.returncode
    except subprocess.TimeoutExpired as ended:
        got, status = ended, None
    took = time.monotonic() - start
    output, errors = ((each or b"").decode(errors="replace") for each in (got.stdout, got.stderr))
    # The emulator reports a program that ended by a signal; the program itself did not say so.
    errors = re.sub("qemu: uncaught target signal.*\n", "", errors)
    return types.SimpleNamespace(output=output, errors=errors, status=status, took=took)


def masked(text):
    """Without what differs between builds and runs: source line numbers, a UIM client's handle."""
    text = re.sub(r"(RIL\[[^:\] \n]+:)\d+\]", r"\1#]", text)
    return re.sub(r"(uim_qmi_client |qmi_client_release )0x.*", r"\1#", text)


@contextlib.contextmanager
def serving(command, **settings):
    """A `tvk-modem serve`, from when it listens and while the context lasts."""
    with subprocess.Popen(command, stderr=subprocess.PIPE, **settings) as modem:
        try:
            assert any(b"listening on" in line for line in modem.stderr), f"no modem: {command}"
            threading.Thread(target=modem.stderr.read).start()
            yield modem
        finally:
            modem.terminate()


def simulated_modem(tvk_modem, folder, options):
    """tvk-modem on sockets and a state directory in the folder."""
    return serving([*tvk_modem, "serve", "--socket", f"{folder}/modem.sock",
                    "--state", f"{folder}/state", *options])
