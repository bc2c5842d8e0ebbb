# shellcheck shell=bash
# What the host knows in the demonstration: cameras that the cloud has given a model and a pipeline.

readonly kDemoModelId=6f1d2b8e-3a55-4c1f-9d1e-0b5a7c9e1f01

# demo_records CAMERAS MODEL: the records as JSON. The model's size is that of the file, so the
# library takes the one in its cache for good and downloads nothing.
demo_records()
{
    local size index separator=
    size=$(stat -c %s "$2")
    printf '{"devices": ['
    for ((index = 1; index <= $1; ++index)); do
        printf '%s' "$separator"
        demo_device "$(printf 'd3a0c5b4-6f1e-4b7a-9c28-%012d' "$index")" "Camera $index" \
            "$(basename "$2")" "$size"
        separator=,
    done
    printf '\n]}\n'
}

# demo_device ID NAME FILE SIZE
demo_device()
{
    cat <<END

  {
    "id": "$1", "name": "$2", "vendor": "Tavo", "model": "File camera",
    "parameters": {"tavoAI": {
      "deviceAdmin": "https://admin.tavo.example/device/$1",
      "models": [{
        "UUID": "$kDemoModelId", "Name": "NanoDet", "UpdatedAt": "2024-05-01T12:00:00",
        "NamedOutput": [{"Name": "bboxes-format:xyxy;0:person;1:bicycle;2:car;7:truck"}],
        "Downloads": [{
          "RuntimeArchitecture": "application/x-onnx", "Encrypted": false,
          "Url": "https://storage.tavo.example/models/$3", "Size": $4,
          "LastModified": "2024-05-01T12:00:00"
        }]
      }],
      "pipelines": [{
        "method": "detect", "modelUUID": "$kDemoModelId", "modelNMS": 0.5,
        "Postprocessor": "LineCrossing"
      }]
    }}
  }
END
}
