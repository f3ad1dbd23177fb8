<?xml version="1.0" encoding="UTF-8"?>
<!-- The frame every report shares: a title, then one block of aligned
     "Label : value" lines per storage object, with a sub-heading where the
     answer moves on to another kind of object (a controller's batteries,
     connectors, disks...). A report stylesheet includes this file and the
     blocks of the kinds it shows (disks.xsl, vdisks.xsl, enclosures.xsl,
     controllers.xsl, settings.xsl, or all of them: objects.xsl), calls the
     "report" template from its root template and writes its title in a
     template for "/" in mode "title".

     The host renders a long answer in parts: "body" writes the blocks of
     one part's objects; "head" writes the title (or the failure, or the
     line saying there is nothing) from a document that holds the first
     part's objects whole and, of each later run of objects alike in
     ObjType, GlobalNo and IsSSC, the first two with only those. So beyond
     the first part a title may ask whether objects of a kind, controller or
     cachecade mark exist and whether there is one or more, nothing else.

     Blocks select a property as Tag[1]: each occurs once in an object, and
     with the position libxml2 stops at it instead of walking every
     property. -->
<xsl:stylesheet version="1.0"
    xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:include href="decode.xsl"/>
  <xsl:output method="text" encoding="UTF-8"/>

  <!-- Set by the host: the program and the command words of the run. -->
  <xsl:param name="program" select="'vkreport'"/>
  <xsl:param name="command" select="$program"/>
  <!-- Set by the host for a part: "head" or "body" (empty: the whole
       answer at once); for a body, the kind of the object before the part
       and 1 when earlier parts wrote blocks. -->
  <xsl:param name="part" select="''"/>
  <xsl:param name="previous-kind" select="''"/>
  <xsl:param name="continued" select="0"/>

  <!-- The answer's objects, in answer order. They are the children of its
       root element, and reached without keys: libxslt builds every key of
       a document at its first use, a walk of the whole answer. -->
  <xsl:variable name="objects" select="/*/QXStorageObject"/>

  <!-- The agent's status, "0" when the answer carries none. -->
  <xsl:variable name="status">
    <xsl:variable name="s" select="normalize-space(/*/SMStatus[1])"/>
    <xsl:choose>
      <xsl:when test="$s = ''">0</xsl:when>
      <xsl:otherwise><xsl:value-of select="$s"/></xsl:otherwise>
    </xsl:choose>
  </xsl:variable>

  <!-- none: the line shown when there is nothing to report; objects: the
       objects to show; spaced: a blank line between blocks (false: only
       after the title). -->
  <xsl:template name="report">
    <xsl:param name="none"/>
    <xsl:param name="objects" select="$objects"/>
    <xsl:param name="spaced" select="true()"/>
    <xsl:if test="$part != 'body'">
      <xsl:choose>
        <xsl:when test="$status != '0'">
          <xsl:call-template name="failure"/>
        </xsl:when>
        <xsl:when test="not($objects)">
          <xsl:value-of select="concat($none, '&#10;')"/>
        </xsl:when>
        <xsl:otherwise>
          <xsl:call-template name="heading">
            <xsl:with-param name="text"><xsl:apply-templates select="/" mode="title"/></xsl:with-param>
          </xsl:call-template>
        </xsl:otherwise>
      </xsl:choose>
    </xsl:if>
    <xsl:if test="$part != 'head' and $status = '0'">
      <xsl:for-each select="$objects">
        <!-- Each block is written into an element of its own, which the
             text output leaves out, so that libxslt appends to a short
             text: rendering stays linear in the answer's length. -->
        <block>
          <xsl:variable name="previous" select="preceding-sibling::QXStorageObject[1]"/>
          <xsl:if test="(position() != 1 or $continued = 1) and
                        (($previous and string($previous/ObjType) != string(ObjType)) or
                         (not($previous) and $previous-kind != string(ObjType)))">
            <xsl:text>&#10;</xsl:text>
            <xsl:call-template name="heading">
              <xsl:with-param name="text">
                <xsl:call-template name="kind-name">
                  <xsl:with-param name="kind" select="string(ObjType)"/>
                </xsl:call-template>
              </xsl:with-param>
              <xsl:with-param name="rule" select="'-'"/>
            </xsl:call-template>
          </xsl:if>
          <xsl:if test="$spaced or (position() = 1 and $continued != 1)">
            <xsl:text>&#10;</xsl:text>
          </xsl:if>
          <xsl:apply-templates select="."/>
        </block>
      </xsl:for-each>
    </xsl:if>
  </xsl:template>

  <!-- A refused or failed request: the agent's own sentence. -->
  <xsl:template name="failure">
    <xsl:variable name="message" select="normalize-space(/*/SMMessage[1])"/>
    <xsl:choose>
      <xsl:when test="$message != ''">
        <xsl:value-of select="concat($message, '&#10;')"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="concat('The request failed with status ', $status, '.&#10;')"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="kind-name">
    <xsl:param name="kind"/>
    <xsl:choose>
      <xsl:when test="$kind = 'controller'">Controllers</xsl:when>
      <xsl:when test="$kind = 'battery'">Batteries</xsl:when>
      <xsl:when test="$kind = 'connector'">Connectors</xsl:when>
      <xsl:when test="$kind = 'enclosure'">Enclosures</xsl:when>
      <xsl:when test="$kind = 'fan'">Fans</xsl:when>
      <xsl:when test="$kind = 'pwrsupply'">Power Supplies</xsl:when>
      <xsl:when test="$kind = 'emm'">Enclosure Management Modules</xsl:when>
      <xsl:when test="$kind = 'tempprobe'">Temperature Probes</xsl:when>
      <xsl:when test="$kind = 'pdisk'">Physical Disks</xsl:when>
      <xsl:when test="$kind = 'tape'">Tape Drives</xsl:when>
      <xsl:when test="$kind = 'vdisk'">Virtual Disks</xsl:when>
      <xsl:when test="$kind = 'span'">Spans</xsl:when>
      <xsl:when test="$kind = 'partition'">Partitions</xsl:when>
      <xsl:when test="$kind = 'cachedlun'">Cached LUNs</xsl:when>
      <xsl:when test="$kind = 'nvmeadapter'">NVMe Adapters</xsl:when>
      <xsl:when test="$kind = 'cachepool'">Cache Pool</xsl:when>
      <xsl:when test="$kind = 'globalinfo'">Global Information</xsl:when>
      <xsl:when test="$kind = 'storage'">Storage</xsl:when>
      <xsl:when test="$kind = ''">Other Objects</xsl:when>
      <xsl:otherwise><xsl:value-of select="$kind"/></xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- The usual title of a list: the first object's kind, and the
       controller when all objects share one. -->
  <xsl:template name="list-title">
    <xsl:call-template name="kind-name">
      <xsl:with-param name="kind" select="string($objects[1]/ObjType)"/>
    </xsl:call-template>
    <xsl:if test="$objects[1]/ObjType = 'span' or $objects[1]/ObjType = 'partition'">
      <xsl:value-of select="concat(' of Virtual Disk ', $objects[1]/LogicalDriveNum)"/>
    </xsl:if>
    <xsl:call-template name="on-controller"/>
  </xsl:template>

  <!-- The title of an enclosure's components: their kind and where they
       are. -->
  <xsl:template name="component-title">
    <xsl:variable name="first" select="$objects[1]"/>
    <xsl:call-template name="kind-name">
      <xsl:with-param name="kind" select="string($first/ObjType)"/>
    </xsl:call-template>
    <xsl:value-of select="concat(' of Enclosure ', $first/Channel, ':', $first/EnclosureID, ' on Controller ', $first/GlobalNo)"/>
  </xsl:template>

  <!-- "on Controller N" when every object belongs to one controller;
       nothing otherwise. -->
  <xsl:template name="on-controller">
    <xsl:param name="objects" select="$objects"/>
    <xsl:variable name="first" select="string($objects[1]/GlobalNo)"/>
    <xsl:if test="$first != '' and not($objects[string(GlobalNo) != $first])">
      <xsl:value-of select="concat(' on Controller ', $first)"/>
    </xsl:if>
  </xsl:template>

  <!-- Enclosures on SAS and PCIe connectors carry their own number. -->
  <xsl:template name="enclosure-id">
    <xsl:choose>
      <xsl:when test="EnclosureID and (BusProtocol = 8 or BusProtocol = 9 or not(BusProtocol))">
        <xsl:value-of select="concat(Channel, ':', EnclosureID)"/>
      </xsl:when>
      <xsl:otherwise>
        <xsl:value-of select="Channel"/>
      </xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <xsl:template name="id-line">
    <xsl:param name="value"/>
    <xsl:value-of select="concat('ID                       : ', $value, '&#10;')"/>
  </xsl:template>

  <!-- The size of a virtual disk, span, partition or cache pool. -->
  <xsl:template match="Length" mode="size-line">
    <xsl:text>Size                     : </xsl:text>
    <xsl:call-template name="size"><xsl:with-param name="v" select="string(.)"/></xsl:call-template>
    <xsl:text>&#10;</xsl:text>
  </xsl:template>

  <xsl:template name="alarm-line">
    <xsl:choose>
      <xsl:when test="AlarmPresent != 1">Alarm                    : Not Present&#10;</xsl:when>
      <xsl:when test="AlarmState = 1">Alarm                    : Enabled&#10;</xsl:when>
      <xsl:otherwise>Alarm                    : Disabled&#10;</xsl:otherwise>
    </xsl:choose>
  </xsl:template>

  <!-- Any object without a block of its own: every property but the masks
       and bookkeeping, as it stands. -->
  <xsl:template match="QXStorageObject">
    <xsl:for-each select="*[not(contains(name(), 'Mask')) and name() != 'ObjID' and name() != 'ObjType']">
      <xsl:call-template name="line">
        <xsl:with-param name="label" select="name()"/>
        <xsl:with-param name="value" select="."/>
      </xsl:call-template>
    </xsl:for-each>
  </xsl:template>
</xsl:stylesheet>
