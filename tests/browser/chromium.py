"""A headless Chromium whose pages may neither complain nor ask for anything but themselves."""
import json

from selenium import webdriver
from selenium.webdriver import ActionChains, Keys  # noqa: F401, for the checks
from selenium.webdriver.chrome.service import Service


class Chromium(webdriver.Chrome):
    def __init__(self, profile):
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for one in ("headless", "no-sandbox", "disable-gpu", "disable-dev-shm-usage", "no-first-run", "disable-sync",
                    "disable-background-networking", "disable-component-update", f"user-data-dir={profile}"):
            options.add_argument(f"--{one}")
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        super().__init__(service=Service("/usr/bin/chromedriver"), options=options)

    def show(self, width, colours="light"):
        self.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": 900, "deviceScaleFactor": 1, "mobile": width < 600})
        self.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": colours}]})

    def expect_quiet(self, url):
        assert not (said := self.get_log("browser")), said
        for entry in self.get_log("performance"):
            event = json.loads(entry["message"])["message"]
            if event["method"] == "Network.requestWillBeSent" and event["params"]["documentURL"] == url:
                asked = event["params"]["request"]["url"]
                assert asked == url or asked.startswith("data:"), asked
