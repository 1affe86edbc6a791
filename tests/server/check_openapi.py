"""Checks server/openapi.json as an OpenAPI 3.1 document: against the OpenAPI
Initiative's JSON Schema of OpenAPI 3.1 (openapi-3.1-schema.json beside this
file, as the OpenAPI Initiative publishes it, version 2021-04-15), then what a schema
cannot say: every schema a valid JSON Schema, every reference found, every
parameter of a path's template declared in the path, every operation with an
operationId of its own, and the document's version the project's.

    check_openapi.py DOCUMENT VERSION

Prints each fault and exits 1 when there is any."""
import json
import pathlib
import re
import sys

import jsonschema

HERE = pathlib.Path(__file__).resolve().parent
METHODS = ("get", "put", "post", "delete", "options", "head", "patch", "trace")


def resolve(document, ref):
    """The object that a local reference names, or None."""
    if not ref.startswith("#/"):
        return None
    node = document
    for part in ref[2:].split("/"):
        part = part.replace("~1", "/").replace("~0", "~")
        if not isinstance(node, dict) or part not in node:
            return None
        node = node[part]
    return node


def references(node, where=""):
    """Every $ref in the document, with where it stands."""
    if isinstance(node, dict):
        for key, value in node.items():
            if key == "$ref" and isinstance(value, str):
                yield where, value
            else:
                yield from references(value, f"{where}/{key}")
    elif isinstance(node, list):
        for i, value in enumerate(node):
            yield from references(value, f"{where}/{i}")


def faults(document, version):
    schema = json.loads((HERE / "openapi-3.1-schema.json").read_text())
    for error in jsonschema.Draft202012Validator(schema).iter_errors(document):
        yield "/".join(map(str, error.absolute_path)) + ": " + error.message
    for where, ref in references(document):
        if resolve(document, ref) is None:
            yield f"{where}: {ref} names nothing"
    for name, body in document.get("components", {}).get("schemas", {}).items():
        try:
            jsonschema.Draft202012Validator.check_schema(body)
        except jsonschema.SchemaError as e:
            yield f"components/schemas/{name}: {e.message}"
    if document.get("info", {}).get("version") != version:
        yield f"info/version: {document.get('info', {}).get('version')}, the project's is {version}"
    seen = {}
    for path, item in document.get("paths", {}).items():
        templated = set(re.findall(r"{([^}]+)}", path))
        for method in METHODS:
            operation = item.get(method)
            if operation is None:
                continue
            where = f"{method.upper()} {path}"
            declared = set()
            for parameter in item.get("parameters", []) + operation.get("parameters", []):
                parameter = resolve(document, parameter["$ref"]) if "$ref" in parameter else parameter
                if parameter and parameter.get("in") == "path":
                    declared.add(parameter["name"])
                    if parameter.get("required") is not True:
                        yield f"{where}: the path parameter {parameter['name']} must be required"
            for name in templated - declared:
                yield f"{where}: the path parameter {name} is not declared"
            for name in declared - templated:
                yield f"{where}: the parameter {name} is not in the path"
            identifier = operation.get("operationId")
            if not identifier:
                yield f"{where}: no operationId"
            elif identifier in seen:
                yield f"{where}: operationId {identifier} is also {seen[identifier]}'s"
            else:
                seen[identifier] = where


def main():
    document = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
    found = list(faults(document, sys.argv[2]))
    for fault in found:
        print(f"{sys.argv[1]}: {fault}")
    if found:
        sys.exit(1)
    print(f"{sys.argv[1]}: a valid OpenAPI {document['openapi']} document, version {sys.argv[2]}")


if __name__ == "__main__":
    main()
