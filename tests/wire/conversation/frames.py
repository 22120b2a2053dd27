"""The wire's two text forms, read and shown without any of the library's own code."""

import json
import xml.etree.ElementTree as ElementTree
from dataclasses import dataclass
from xml.sax.saxutils import escape, quoteattr

WIDTH = 150


class FrameError(Exception):
    """A frame that is not what the protocol says."""


class Number(str):
    """A JSON number as it was written."""


class Members(list):
    """The members of a JSON object in order, repeated keys included."""

    def first(self, key):
        """The first member of that key, or None."""
        return next((value for name, value in self if name == key), None)


@dataclass
class Frame:
    """One frame of the library. `kind` is handshake, response or event."""

    form: str  # "json" or "xml"
    kind: str
    request_id: str | None
    type: str | None
    shown: str  # the whole frame, laid out for people
    content: object  # Members or an Element

    @property
    def name(self) -> str | None:
        """An event's name; the library sends events as XML."""
        return self.content[0].findtext("name") if self.form == "xml" else None


def request_frame(request_id: str, request_type: str, parameters: bytes) -> bytes:
    """The frame of a request; `parameters` is XML that stands beside id and type."""
    head = f"<id>{escape(request_id)}</id><type>{escape(request_type)}</type>"
    return b"<msg><request>" + head.encode() + parameters + b"</request></msg>"


def event_frame(name: str, values: dict[str, str]) -> bytes:
    """The frame of an event to the library."""
    entries = "".join(f"<{key}>{escape(value)}</{key}>" for key, value in values.items())
    return f"<msg><event><name>{escape(name)}</name>{entries}</event></msg>".encode()


def read_frame(text: str) -> Frame:
    """Reads a frame of the library."""
    return read_json_frame(text) if text.startswith("{") else read_xml_frame(text)


def read_json_frame(text: str) -> Frame:
    try:
        content = json.loads(text, object_pairs_hook=Members, parse_int=Number, parse_float=Number,
                             parse_constant=_no_constant)
    except ValueError as error:
        raise FrameError(f"no JSON ({error}): {text[:200]}") from error
    if len(content) != 1:
        raise FrameError(f"not one member at the top: {text[:200]}")
    kind, envelope = content[0]
    return Frame("json", kind, envelope.first("requestId"), envelope.first("type"), show_json(content), content)


def _no_constant(name: str):
    raise ValueError(f"{name} is no JSON")


def read_xml_frame(text: str) -> Frame:
    try:
        content = ElementTree.fromstring(text)
    except ElementTree.ParseError as error:
        raise FrameError(f"no XML ({error}): {text[:200]}") from error
    if content.tag != "msg" or len(content) != 1:
        raise FrameError(f"not one element in msg: {text[:200]}")
    envelope = content[0]
    request_id = envelope.findtext("requestId")
    return Frame("xml", envelope.tag, request_id, envelope.findtext("type"), show_xml(content), content)


def failure_text(frame: Frame) -> str | None:
    """The text of an `error` response, None if the frame is no such response."""
    if frame.kind != "response" or frame.type != "error" or frame.form != "json":
        return None
    payload = frame.content.first("response").first("")
    return payload.first("text") if isinstance(payload, Members) else None


def show_json(value, indent: str = "") -> str:
    """JSON in lines; what fits on one line stays on one."""
    flat = _flat_json(value)
    if len(indent) + len(flat) <= WIDTH or not isinstance(value, list):
        return flat
    inner = indent + "  "
    if isinstance(value, Members):
        entries = [inner + json.dumps(key, ensure_ascii=False) + ": " + show_json(item, inner) for key, item in value]
        return "{\n" + ",\n".join(entries) + "\n" + indent + "}"
    entries = [inner + show_json(item, inner) for item in value]
    return "[\n" + ",\n".join(entries) + "\n" + indent + "]"


def _flat_json(value) -> str:
    if isinstance(value, Number):
        return str(value)
    if isinstance(value, Members):
        return "{" + ", ".join(json.dumps(key, ensure_ascii=False) + ": " + _flat_json(item) for key, item in value) + "}"
    if isinstance(value, list):
        return "[" + ", ".join(_flat_json(item) for item in value) + "]"
    return json.dumps(value, ensure_ascii=False)


def show_xml(element: ElementTree.Element, indent: str = "") -> str:
    """XML in lines; what fits on one line stays on one. Text of values is shown exactly."""
    flat = _flat_xml(element)
    if len(indent) + len(flat) <= WIDTH or len(element) == 0:
        return flat
    opening, closing = _tags(element)
    children = [indent + "  " + show_xml(child, indent + "  ") for child in element]
    return opening + "\n" + "\n".join(children) + "\n" + indent + closing


def _flat_xml(element: ElementTree.Element) -> str:
    if len(element) == 0 and not element.text:
        return _tags(element)[0][:-1] + "/>"
    opening, closing = _tags(element)
    return opening + escape(element.text or "") + "".join(_flat_xml(child) for child in element) + closing


def _tags(element: ElementTree.Element) -> tuple[str, str]:
    attributes = "".join(f" {name}={quoteattr(value)}" for name, value in element.attrib.items())
    return f"<{element.tag}{attributes}>", f"</{element.tag}>"
