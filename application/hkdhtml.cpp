#include <toviktwo/application/hkdhtml.h>

namespace {

// The text exactly as it goes out; its length and first line are pinned by
// tests/application/test_dhtml.cpp, and its behaviour in a browser by
// tests/browser/client_library/.
constexpr const char* kDHTMLScript = R"tovikjs(/* DHTML-Bibliothek, TovikFrame 1.0 (v11)*/
/* Browser marks, element access by id, name, tag name or layer index,
   attribute and content access, script loading and mouse dragging.
   Every function answers false where the browser lacks what is required. */
var DHTML = false, DOM = false, MSIE4 = false, NS4 = false, OP = false;
var script_element = 0, heads = 0;
var tovik_object_to_drag = null;
var tovik_dragx = 0, tovik_dragy = 0, tovik_posx = 0, tovik_posy = 0;

if (document.getElementById) {
  DHTML = true;
  DOM = true;
} else {
  if (document.all) {
    DHTML = true;
    MSIE4 = true;
  } else {
    if (document.layers) {
      DHTML = true;
      NS4 = true;
    }
  }
}
if (window.opera) {
  OP = true;
}

/* Mode: "id", "name", "tagname" (and "layerindex" for layers). */
function getElement(Mode, Identifier, ElementNumber) {
  var Element, ElementList;
  var m = String(Mode).toLowerCase();
  if (DOM) {
    if (m == "id") {
      Element = document.getElementById(Identifier);
      if (Element) return Element;
      return false;
    }
    if (m == "name") {
      ElementList = document.getElementsByName(Identifier);
    } else if (m == "tagname") {
      ElementList = document.getElementsByTagName(Identifier);
    } else {
      return false;
    }
    Element = ElementList[ElementNumber];
    if (Element) return Element;
    return false;
  }
  if (MSIE4) {
    if (m == "id" || m == "name") {
      Element = document.all(Identifier);
      if (Element && typeof Element.length == "number" && !Element.tagName) {
        Element = Element[ElementNumber];
      }
      if (Element) return Element;
      return false;
    }
    if (m == "tagname") {
      ElementList = document.all.tags(Identifier);
      Element = ElementList[ElementNumber];
      if (Element) return Element;
    }
    return false;
  }
  if (NS4) {
    if (m == "id" || m == "name") {
      Element = document[Identifier];
      if (!Element) Element = document.anchors[Identifier];
      if (Element) return Element;
      return false;
    }
    if (m == "layerindex") {
      Element = document.layers[Identifier];
      if (Element) return Element;
    }
    return false;
  }
  return false;
}

/* The value of the attribute, or false. */
function getAttribute(Mode, Identifier, ElementNumber, AttributeName) {
  var Attribute;
  var Element = getElement(Mode, Identifier, ElementNumber);
  if (!Element) return false;
  if (DOM || MSIE4) {
    Attribute = Element.getAttribute(AttributeName);
    if (Attribute == null) return false;
    return Attribute;
  }
  if (NS4) {
    Attribute = Element[AttributeName];
    if (!Attribute) return false;
    return Attribute;
  }
  return false;
}

/* Sets the attribute (DOM and MSIE4 only); true when it is set. */
function setAttribute(Mode, Identifier, ElementNumber, AttributeName, AttributeValue) {
  var Element = getElement(Mode, Identifier, ElementNumber);
  if (!Element) return false;
  if (DOM || MSIE4) {
    Element.setAttribute(AttributeName, AttributeValue);
    return true;
  }
  return false;
}

/* The text of the first child; "" when that is not a text node. */
function getContent(Mode, Identifier, ElementNumber) {
  var Content;
  var Element = getElement(Mode, Identifier, ElementNumber);
  if (!Element) return false;
  if (DOM) {
    if (Element.firstChild) {
      if (Element.firstChild.nodeType == 3) {
        Content = Element.firstChild.nodeValue;
      } else {
        Content = "";
      }
      return Content;
    }
    return "";
  }
  if (MSIE4) {
    Content = Element.innerText;
    return Content;
  }
  return false;
}

/* Replaces the text of the first child (a layer's document for NS4). */
function setContent(Mode, Identifier, ElementNumber, Text) {
  var Element = getElement(Mode, Identifier, ElementNumber);
  if (!Element) return false;
  if (DOM) {
    if (!Element.firstChild) {
      Element.appendChild(document.createTextNode(Text));
      return true;
    }
    Element.firstChild.nodeValue = Text;
    return true;
  }
  if (MSIE4) {
    Element.innerText = Text;
    return true;
  }
  if (NS4) {
    Element.document.open();
    Element.document.write(Text);
    Element.document.close();
    return true;
  }
  return false;
}

/* Loads a script file; the script added by the former call goes away. */
function LoadJavaScript(file_url) {
  heads = document.getElementsByTagName("head");
  if (!heads || !heads[0]) return false;
  if (script_element) {
    if (script_element.parentNode) {
      script_element.parentNode.removeChild(script_element);
    }
    script_element = 0;
  }
  script_element = document.createElement("script");
  script_element.type = "text/javascript";
  script_element.src = file_url;
  heads[0].appendChild(script_element);
  return true;
}

/* Dragging: tovik_start_drag(this) on mousedown of an element, then the
   element follows the pointer until the mouse button is released. */
function draginit() {
  document.onmousemove = tovik_drag;
  document.onmouseup = tovik_dragstop;
}

function tovik_start_drag(element) {
  tovik_object_to_drag = element;
  element.style.position = "absolute";
  tovik_dragx = tovik_posx - tovik_object_to_drag.offsetLeft;
  tovik_dragy = tovik_posy - tovik_object_to_drag.offsetTop;
}

function tovik_dragstop() {
  tovik_object_to_drag = null;
}

function tovik_drag(ereignis) {
  if (document.all) {
    tovik_posx = window.event.clientX;
    tovik_posy = window.event.clientY;
  } else {
    tovik_posx = ereignis.pageX;
    tovik_posy = ereignis.pageY;
  }
  if (tovik_object_to_drag != null) {
    tovik_object_to_drag.style.left = (tovik_posx - tovik_dragx) + "px";
    tovik_object_to_drag.style.top = (tovik_posy - tovik_dragy) + "px";
  }
}

draginit();
)tovikjs";

}  // namespace

std::string HKGetDHTML_JS() { return kDHTMLScript; }

std::string HKGetDHTML_CSS() { return std::string(); }
