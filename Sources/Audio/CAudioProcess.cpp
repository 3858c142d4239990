#include "Audio/CAudioProcess.h"

#include <algorithm>

namespace lum {

namespace {

constexpr int kNeverSeen = -99999; // state value before the first look

} // namespace

CAudioProcess::~CAudioProcess() = default;

CErrorResult CAudioProcess::init() {
    compositeDef = dynamic_cast<const CAudioProcessDef*>(definition);
    if (!compositeDef)
        return LUM_FAIL("@lumstr_CAudioProcess_init_InvalidDef "
                        "Audio process def of invalid class supplied.");
    outlet.setOwner(*this);
    for (const CAudioProcessDefBase* processDef : compositeDef->processes) {
        if (processDef->isPrototype) continue;
        CString name = processDef->getFullName();
        LUM_TRY(
            addProcess(*processDef, name.substring(static_cast<size_t>(name.findLast('.') + 1))));
    }
    createWatchers();
    isSequenceDirty = true;
    needsUpdate = 1;
    return nullptr;
}

CErrorResult CAudioProcess::addProcess(const CAudioProcessDefBase& processDef,
                                       const CString& name) {
    if (nodesByName.find(name) != nodesByName.end())
        return LUM_FAIL("@lumstr_CAudioProcess_addProcess_Duplicate "
                        "Duplicate audio process name '%1'.",
                        name);
    std::unique_ptr<CNode> node(new CNode);
    node->name = name;
    node->definition = &processDef;
    node->isPassive = processDef.getTag() == "audio:modNode";
    LUM_TRY(processDef.instantiate(node->instance, fullName + "." + name, *context, this));
    nodesByName[name] = node.get();
    nodes.push_back(std::move(node));
    isSequenceDirty = true;
    needsUpdate = 1;
    return nullptr;
}

void CAudioProcess::createWatchers() {
    auto watch = [&](const CString& name) {
        return &subscribe(context->collector.getParam(resolveName(name)), -1, -1, 0,
                          ParamUse::Structure);
    };
    for (const CAudioProcessLinkStateDef* stateDef : compositeDef->stateParams)
        stateWatchers.push_back({watch(stateDef->param), kNeverSeen});
    for (const CAudioProcessBypassStateDef* stateDef : compositeDef->bypassStates) {
        CParamSubscription* second =
            stateDef->andParam.empty() ? nullptr : watch(stateDef->andParam);
        bypassById[stateDef->id] = bypassStates.ssize();
        bypassStates.push_back({stateDef, watch(stateDef->param), second, false});
    }
}

CAudioProcessBase* CAudioProcess::findActive(const CString& name) {
    CNode* node = findNode(name);
    return node && node->isAwake ? node->instance.get() : nullptr;
}

void CAudioProcess::reset() {
    CAudioProcessBase::reset();
    for (auto& node : nodes) node->instance->reset();
}

void CAudioProcess::disconnect() {
    for (auto& node : nodes) node->instance->disconnect();
    dropAllLinks();
    CAudioProcessBase::disconnect();
}

void CAudioProcess::sleep() {
    for (auto& node : nodes) {
        if (node->isAwake) node->instance->sleep();
        node->isAwake = false;
    }
    dropAllLinks();
    CAudioProcessBase::sleep();
    needsUpdate = 1;
}

bool CAudioProcess::isSettled() const {
    return CAudioProcessBase::isSettled() &&
           std::all_of(nodes.begin(), nodes.end(), [](const auto& node) {
               return !node->isAwake || node->instance->isSettled();
           });
}

/// The children run one after another. What one has delivered waits for the next; only a link that
/// passes others by holds a block for each of its channels meanwhile.
int CAudioProcess::countBlocks() const {
    int most = 0;
    int channels = 0;
    int links = outputLinks.ssize();
    for (auto& node : nodes) {
        if (!node->isAwake) continue;
        most = std::max(most, node->instance->countBlocks());
        channels = std::max(channels, node->instance->countChannels());
        links += node->links.ssize();
    }
    const int chainLinks = runOrder.ssize() + 1;
    return most + channels * std::max(links - chainLinks, 0);
}

/// Forgets all inner links; the next update makes them anew.
void CAudioProcess::dropAllLinks() {
    inlet.sleep();
    outlet.sleep();
    for (auto& node : nodes) {
        node->links.clear();
        node->references = 0;
    }
    outputLinks.clear();
    runOrder.clear();
    isSequenceDirty = true;
}

// A block.

void CAudioProcess::process() LUM_REALTIME {
    runBlockHead();
    deliverLength();
    inlet.beginBlock(blockLength);
    for (auto& port : inputPorts)
        inlet.deliverEach(port->number, 0, port->slots.count,
                          [&](int i) -> CSampleBlockRef& { return port->slots[i].block; });
    for (CAudioProcessBase* child : runOrder) child->process();
    outlet.process();
}

void CAudioProcess::publishInner(int port, const CPortFormat& format) LUM_REALTIME {
    publish(port, format);
}

void CAudioProcess::deliverInner(int port, int firstSlot, CSampleBlockRef* blocks,
                                 int count) LUM_REALTIME {
    deliverEach(port, firstSlot, count, [&](int i) -> CSampleBlockRef& { return blocks[i]; });
}

// Deciding the links.

void CAudioProcess::update() LUM_REALTIME {
    if (formatChanged) publishInput();
    bool isChanged = takeStateChanges();
    if (!isChanged && !isSequenceDirty) return;
    isSequenceDirty = false;
    decideLinks();
}

void CAudioProcess::publishInput() LUM_REALTIME {
    for (auto& port : inputPorts) {
        CPortFormat format;
        format.sampleRate = sampleRate;
        for (const CChannelSlot& slot : port->slots) format.slots.push_back(slot.format);
        inlet.publish(port->number, format);
    }
}

bool CAudioProcess::takeStateChanges() LUM_REALTIME {
    bool isChanged = false;
    for (CStateWatcher& watcher : stateWatchers) {
        int value = roundToInt(watcher.param->read(groupIndex, 0, 0.0));
        isChanged |= value != watcher.lastValue;
        watcher.lastValue = value;
    }
    for (CBypassState& state : bypassStates) {
        bool isTrue = testBypass(state);
        isChanged |= isTrue != state.isTrue;
        state.isTrue = isTrue;
    }
    return isChanged;
}

bool CAudioProcess::testBypass(const CBypassState& state) const LUM_REALTIME {
    const CAudioProcessBypassStateDef& def = *state.definition;
    bool isMet = def.condition.matches(state.param->read(groupIndex, 0, 0.0));
    if (isMet && state.andParam)
        isMet = def.andCondition.matches(state.andParam->read(groupIndex, 0, 0.0));
    return isMet != def.isInverted;
}

bool CAudioProcess::isBypassed(int stateId) const LUM_REALTIME {
    auto found = bypassById.find(stateId);
    return found != bypassById.end() && bypassStates[found->second].isTrue;
}

void CAudioProcess::decideLinks() LUM_REALTIME {
    clearWanted();
    if (compositeDef->isAutoLinks) addAutoLinks();
    addStateLinks(-1);
    for (const CStateWatcher& watcher : stateWatchers) addStateLinks(watcher.lastValue);
    while (dropUnreadNode()) {
    }
    synchronise();
    computeRunOrder();
}

void CAudioProcess::clearWanted() LUM_REALTIME {
    for (auto& node : nodes)
        for (CLinkEntry& link : node->links) link.wanted = 0;
    for (CLinkEntry& link : outputLinks) link.wanted = 0;
}

void CAudioProcess::addAutoLinks() LUM_REALTIME {
    chain.clear();
    for (auto& node : nodes)
        if (!node->definition->isOutOfOrder && !isBypassed(node->definition->bypassStateId))
            chain.push_back(node.get());
    if (chain.empty()) return addLink(outputLinks, nullptr, 0, 0);
    // Fixed points first, as their followers are linked to what feeds them.
    for (bool isPassive : {true, false}) {
        if (chain[0]->isPassive == isPassive) addLink(chain[0]->links, nullptr, 0, 0);
        for (int i = 1; i < chain.ssize(); i++) {
            if (chain[i]->isPassive != isPassive) continue;
            if (isPassive)
                addLink(chain[i]->links, chain[i - 1], 0, 0);
            else
                linkChainStep(chain[i - 1], chain[i]->links);
        }
    }
    linkChainStep(chain.back(), outputLinks);
}

void CAudioProcess::linkChainStep(CNode* from, CLinks& links) LUM_REALTIME {
    if (from->isPassive)
        linkSourcesOf(*from, links);
    else
        addLink(links, from, 0, 0);
}

void CAudioProcess::linkSourcesOf(CNode& node, CLinks& links) LUM_REALTIME {
    for (const CLinkEntry& link : node.links) {
        if (link.wanted == 0) continue;
        if (link.source && link.source->isPassive)
            linkSourcesOf(*link.source, links);
        else
            addLink(links, link.source, link.sourcePort, 0);
    }
}

void CAudioProcess::addStateLinks(int state) LUM_REALTIME {
    auto found = compositeDef->linksByState.find(state);
    if (found == compositeDef->linksByState.end()) return;
    for (const CAudioProcessLinkDef* link : found->second) addExplicitLink(*link);
}

void CAudioProcess::addExplicitLink(const CAudioProcessLinkDef& link) LUM_REALTIME {
    for (int id : link.bypassStateIds)
        if (isBypassed(id)) return;
    bool isFromInput = link.srcName == "*";
    bool isToOutput = link.dstName == "*";
    CNode* source = isFromInput ? nullptr : findNode(link.srcName);
    CNode* target = isToOutput ? nullptr : findNode(link.dstName);
    if (!isFromInput && (!source || isBypassed(source->definition->bypassStateId))) return;
    if (!isToOutput && (!target || isBypassed(target->definition->bypassStateId))) return;
    addLink(isToOutput ? outputLinks : target->links, source, link.srcPort, link.dstPort);
}

void CAudioProcess::addLink(CLinks& links, CNode* source, int sourcePort,
                            int targetPort) LUM_REALTIME {
    for (CLinkEntry& link : links)
        if (link.source == source && link.sourcePort == sourcePort &&
            link.targetPort == targetPort) {
            link.wanted++;
            return;
        }
    links.push_back({source, sourcePort, targetPort, 1, false});
}

/// Takes the links of one fixed point away that is linked to and that nobody reads. False when
/// there is none.
bool CAudioProcess::dropUnreadNode() LUM_REALTIME {
    for (auto& node : nodes) {
        if (!node->isPassive || isRead(*node)) continue;
        bool wasLinked = false;
        for (CLinkEntry& link : node->links) wasLinked |= std::exchange(link.wanted, 0) > 0;
        if (wasLinked) return true;
    }
    return false;
}

bool CAudioProcess::isRead(const CNode& source) const LUM_REALTIME {
    const auto hasLink = [&](const CLinks& links) {
        return std::any_of(links.begin(), links.end(), [&](const CLinkEntry& link) {
            return link.source == &source && link.wanted > 0;
        });
    };
    return hasLink(outputLinks) || std::any_of(nodes.begin(), nodes.end(), [&](const auto& node) {
               return hasLink(node->links);
           });
}

void CAudioProcess::synchronise() LUM_REALTIME {
    for (auto& node : nodes) dropUnwanted(node->links, node.get());
    dropUnwanted(outputLinks, nullptr);
    for (auto& node : nodes) connectNew(node->links, node.get());
    connectNew(outputLinks, nullptr);
    sleepUnlinked(); // last, so that a child whose links all change keeps its state
}

/// target: null for the composite's output.
void CAudioProcess::dropUnwanted(CLinks& links, CNode* target) LUM_REALTIME {
    for (size_t i = links.size(); i-- > 0;) {
        CLinkEntry link = links[i];
        if (link.wanted > 0) continue;
        links.erase(i);
        if (!link.isConnected) continue; // new, and to a fixed point that nobody reads
        unlink(sourceProcess(link.source), link.sourcePort, target ? *target->instance : outlet,
               link.targetPort);
        if (link.source) link.source->references--;
        if (target) target->references--;
    }
}

void CAudioProcess::connectNew(CLinks& links, CNode* target) LUM_REALTIME {
    for (CLinkEntry& link : links) {
        if (link.isConnected) continue;
        connect(sourceProcess(link.source), link.sourcePort, target ? *target->instance : outlet,
                link.targetPort);
        link.isConnected = true;
        for (CNode* node : {link.source, target}) {
            if (!node) continue;
            node->references++;
            node->isAwake = true;
        }
    }
}

void CAudioProcess::sleepUnlinked() LUM_REALTIME {
    for (auto& node : nodes) {
        if (!node->isAwake || node->references > 0) continue;
        node->instance->sleep();
        node->isAwake = false;
    }
}

CAudioProcessBase& CAudioProcess::sourceProcess(CNode* node) LUM_REALTIME {
    return node ? *node->instance : inlet;
}

CAudioProcess::CNode* CAudioProcess::findNode(const CString& name) LUM_REALTIME {
    auto found = nodesByName.find(name);
    return found == nodesByName.end() ? nullptr : found->second;
}

/// Passes over the children that are linked; each takes those whose sources are all placed.
void CAudioProcess::computeRunOrder() LUM_REALTIME {
    runOrder.clear();
    int awake = 0;
    for (auto& node : nodes) {
        node->isPlaced = false;
        if (node->isAwake) awake++;
    }
    for (int placed = -1; placed != runOrder.ssize();) {
        placed = runOrder.ssize();
        for (auto& node : nodes) {
            if (!node->isAwake || node->isPlaced || !isReady(*node)) continue;
            node->isPlaced = true;
            runOrder.push_back(node->instance.get());
        }
    }
    if (runOrder.ssize() < awake) logFault("process seq err");
}

bool CAudioProcess::isReady(const CNode& node) const LUM_REALTIME {
    return std::all_of(node.links.begin(), node.links.end(), [](const CLinkEntry& link) {
        return !link.source || link.source->isPlaced;
    });
}

} // namespace lum
