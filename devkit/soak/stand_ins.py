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


def write_server(folder, cameras, services_url):
    """The records of a server that the library has never met, and the library's ini file."""
    records = os.path.join(folder, "records.json")
    with open(records, "w") as out:
        devices = [
            {"id": device_id(i), "name": "Camera %d" % (i + 1), "parameters": {}}
            for i in range(cameras)]
        json.dump(
            {"cloudSystemId": "run", "cloudAuthToken": TOKEN,
             "server": {"id": "run", "parameters": {}}, "devices": devices}, out)
    with open(os.path.join(folder, "tavo_orlix_manager_plugin.ini"), "w") as out:
        out.write("CloudAPI=%s/dev\n" % services_url)
        out.write("RuntimesStorageURL=%s/runtimes\n" % services_url)
        out.write("OrlixManagerStorageURL=%s/apps\n" % services_url)
    return records


def find_plugin(build):
    return subprocess.check_output(
        ["find", os.path.join(build, "vms"), "-name", "tavo_orlix_manager_plugin.so"],
        text=True).split()[0]


class Services:
    """The stand-in cloud and storage. `files` is the folder of the models' files."""

    def __init__(self, build, folder, files, models, pipelines):
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
            ],
            stdout=subprocess.PIPE, text=True,
        )
        line = self.process.stdout.readline()
        if not line.startswith("serving on port "):
            raise RuntimeError("the stand-in services did not start")
        self.url = "http://127.0.0.1:" + line.split()[-1]

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
