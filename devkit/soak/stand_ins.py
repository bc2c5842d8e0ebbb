"""What runs over the built library share: a video, the stand-in services, and a server's files."""

import json
import os
import re
import subprocess
import urllib.request

FPS = 10
TOKEN = "run-token"


def write_video(path, width, height):
    """A light square that walks over a dark ground, uncompressed: decoding costs next to nothing."""
    side = height // 6
    chroma = bytes([128]) * (width * height // 2)
    with open(path, "wb") as video:
        video.write(b"YUV4MPEG2 W%d H%d F%d:1 Ip C420jpeg\n" % (width, height, FPS))
        for step in range(40):
            left = step * (width - side) // 40
            dark = bytes([30]) * width
            row = bytes([30]) * left + bytes([220]) * side + bytes([30]) * (width - side - left)
            luma = dark * side + row * side + dark * (height - 2 * side)
            video.write(b"FRAME\n" + luma + chroma)


def motion_model(uuid, name, file, encrypted=False):
    """A catalogue's model for which the application takes its motion detector."""
    return {
        "UUID": uuid,
        "Name": name,
        "File": file,
        "Encrypted": encrypted,
        "RuntimeArchitectures": ["application/x-onnx"],
        "NamedOutput": [{"Name": "bboxes;0:motion"}],
    }


def detecting_pipeline(uuid, name, model):
    return {
        "uuid": uuid,
        "name": name,
        "models": [model],
        "pipelines": [{"method": "detect", "modelUUID": model, "modelNMS": 0.5}],
    }


def device_id(index):
    return "d3a0c5b4-6f1e-4b7a-9c28-%012d" % (index + 1)


def find_plugin(build):
    return subprocess.check_output(
        ["find", os.path.join(build, "vms"), "-name", "tavo_orlix_manager_plugin.so"],
        text=True).split()[0]


class Services:
    """The stand-in cloud and storage. `files` is the folder of the models' files; in `folder` they
    write records and ini file of a server that the library has never met."""

    def __init__(self, build, folder, files, models, pipelines, cameras):
        catalogue = os.path.join(folder, "catalogue.json")
        with open(catalogue, "w") as out:
            json.dump({"models": models, "pipelines": pipelines}, out)
        manager = os.path.join(build, "devkit/manager")
        archive = [name for name in os.listdir(manager) if re.match(r"orlix_manager-.*\.tgz", name)]
        self.process = subprocess.Popen(
            [
                os.path.join(build, "devkit/services/tavo_services"),
                "--token", TOKEN, "--catalogue", catalogue, "--files", files,
                "--archive", os.path.join(manager, archive[0]),
                "--runtimes", os.path.join(build, "devkit/services/runtimes"),
                "--server", folder, "--cameras", str(cameras),
            ],
            stdout=subprocess.PIPE, text=True,
        )
        line = self.process.stdout.readline()
        if not line.startswith("serving on port "):
            raise RuntimeError("the stand-in services did not start")
        self.url = "http://127.0.0.1:" + line.split()[-1]
        self.folder = folder
        self.cameras = cameras

    def control(self, method, path, body=""):
        request = urllib.request.Request(self.url + path, data=body.encode(), method=method)
        urllib.request.urlopen(request, timeout=20).read()

    def fault(self, path, kind, pause_ms=200):
        self.control(
            "POST", "/control/faults", json.dumps({"path": path, "kind": kind, "pauseMs": pause_ms}))

    def clear_faults(self):
        self.control("DELETE", "/control/faults")

    def touch_models(self, stamp):
        self.control("POST", "/control/updated-at", stamp)

    def stop(self):
        self.process.terminate()
        self.process.wait()


def start_host(build, services, work, temporary, video, arguments, environment, **pipes):
    """The stand-in host for the cameras of that server; `work` and `temporary` are its folders."""
    return subprocess.Popen(
        [
            os.path.join(build, "devkit/host/tavo_host"), "--plugin", find_plugin(build),
            "--work-dir", work, "--video", video, "--cameras", str(services.cameras),
            "--records", os.path.join(services.folder, "records.json"),
            "--database", os.path.join(services.folder, "records.db"), "--realtime", *arguments,
        ],
        env=dict(os.environ, TAVO_INI_DIR=services.folder, TMPDIR=temporary, **environment), **pipes)
