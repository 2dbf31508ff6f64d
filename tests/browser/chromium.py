"""A headless Chromium, installed where there is none, whose pages may neither complain nor ask for anything but
themselves."""
import json, subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
INSTALL = '. tools/packages.sh; install_packages "${packages_to_browse[@]}"'
subprocess.run(["bash", "-ec", INSTALL], cwd=ROOT, check=True)
from selenium import webdriver
from selenium.webdriver.chrome.service import Service


class Chromium(webdriver.Chrome):
    def __init__(self, profile):
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for one in ("headless", "no-sandbox", "disable-gpu", "disable-dev-shm-usage", "no-first-run", "disable-sync",
                    "disable-background-networking", "disable-component-update", "window-size=1280,900", f"user-data-dir={profile}"):
            options.add_argument(f"--{one}")
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        super().__init__(service=Service("/usr/bin/chromedriver"), options=options)

    def expect_quiet(self, *urls):
        assert not (said := self.get_log("browser")), said
        events = [json.loads(entry["message"])["message"] for entry in self.get_log("performance")]
        asked = {event["params"]["request"]["url"] for event in events
                 if event["method"] == "Network.requestWillBeSent" and event["params"]["documentURL"] == urls[0]}
        assert all(one in urls or one.startswith("data:") for one in asked), asked
