"""The parts of the product that are measured, and the lists of what need not be as it should."""

# The rooms, and those parts of them on which everything else stands.
HEART = {
    "loop": ("service/EnrollmentLoop.cpp", "service/EventChannels.cpp"),
    "host": ("service/ServiceHost.cpp", "service/TPMEnrollment.cpp", "service/wmain.cpp"),
    "store": ("VUSL/Support/ConfigMgmt.cpp", "VUSL/Support/ConfigMemory.cpp",
              "VUSL/Support/LoadConfig.cpp"),
    "file": ("VUSL/SupportCore/",),
    "parsers": ("VUSL/Support/ConfigLine.cpp", "VUSL/Support/CmdLine",
                "VUSL/Support/ResourceLoader.cpp", "client/GetDeviceHKEY.cpp",
                "client/HKeyContainer.cpp"),
}


def group_of(file):
    for name, files in HEART.items():
        if file.startswith(files):
            return name
    return file.split("/")[0]


def listed(path):
    """What need not be, each with its reason: a line that names a place by its text, and below it,
    indented, why."""
    found, key = {}, None
    with open(path, encoding="utf-8") as file:
        lines = file.read().split("\n")
    for number, line in enumerate(lines, start=1):
        line = line.rstrip()
        if not line or line.startswith("#"):
            continue
        if line.startswith("  "):
            if key is None:
                raise SystemExit(f"{path}:{number}: a reason without a place")
            found[key] = (found[key] + " " + line.strip()).strip()
        else:
            key = line
            found[key] = ""
    for place, reason in found.items():
        if not reason:
            raise SystemExit(f"{path}: no reason for: {place}")
    return found
